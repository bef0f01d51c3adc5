// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Timer.h>

#include <memory>

namespace corvane {

class RunLoop;
namespace detail {
class LoopCore;
RunLoop& timerThread();
LoopCore& mainLoopCore();
} // namespace detail

/// The loop of a thread: it fires the thread's timers and, on the main thread, runs the main queue's blocks.
///
///     int main() {
///         startTheWork([] { RunLoop::main().stop(); });
///         RunLoop::main().run();
///     }
///
/// A program that has a main loop already watches `fileDescriptor()` for reading and calls `drain()`; the
/// headers GLibAdapter.h and QtAdapter.h do that for their loops.
///
/// The main thread is the one that runs or drains the main loop; until one does, the one that loaded the
/// library. A loop that is run inside a block of the main queue fires timers but no further block of that
/// queue, which runs one at a time. `run`, `runFor` and `drain` belong to the loop's thread; everything else
/// is thread-safe.
class CORVANE_API RunLoop {
public:
    static RunLoop& main();
    /// This thread's own; the main loop on the main thread. It goes with its thread, and its timers with it.
    static RunLoop& current();

    /// Serves the loop until `stop()`.
    void run();
    /// Serves the loop until `stop()` or for `time`; true when it was stopped.
    bool runFor(TimeInterval time);
    /// Ends the innermost running call, or at once the next one when none is running.
    void stop();

    /// Readable while something is due. It stays the same for the life of the loop and is closed by it.
    int fileDescriptor() const noexcept;
    /// Does what is due without waiting; whether there was anything. What comes due meanwhile is left for the
    /// next call, so that a host's own events get their turn.
    bool drain();

    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    ~RunLoop();

private:
    friend class Timer;
    friend RunLoop& detail::timerThread();
    friend detail::LoopCore& detail::mainLoopCore();
    explicit RunLoop(bool isMain);

    std::shared_ptr<detail::LoopCore> core_;
};

} // namespace corvane
