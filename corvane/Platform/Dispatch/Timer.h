// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Block.h>

#include <concepts>
#include <memory>
#include <utility>

namespace corvane {

class RunLoop;
namespace detail {
struct TimerCore;
}

/// A timer of a run loop.
///
///     Timer blink = Timer::repeats(TimeInterval(0.5), [&](Timer& timer) {
///         if (!toggleCursor())
///             timer.invalidate();
///     });
///
/// The block runs on the thread that runs the loop. It never runs early; it runs late when the loop is busy,
/// and by up to a millisecond so that timers that fall close together share one wake-up. A repeating timer
/// keeps to its first schedule, so lateness does not add up: late firings are made up one after another,
/// unless the loop was kept from them for a quarter second or more; then the periods missed as a whole are
/// left out. An interval below 0.1 ms counts as 0.1 ms when it repeats.
///
/// The loop keeps the timer; dropping the handle does not stop it. A handle is cheap to copy; copies name the
/// same timer. Thread-safe, but a block that runs on its loop's thread is not waited for by `invalidate()`
/// elsewhere.
class CORVANE_API Timer {
public:
    /// Calls `block`, which takes nothing or a `Timer&`, once, `in` seconds from now on this thread's run
    /// loop.
    template <typename F>
    static Timer schedule(TimeInterval in, F&& block)
    {
        return start(nullptr, in, false, std::forward<F>(block));
    }
    /// The same every `every` seconds, first after that time.
    template <typename F>
    static Timer repeats(TimeInterval every, F&& block)
    {
        return start(nullptr, every, true, std::forward<F>(block));
    }
    /// Both, on a loop of choice.
    template <typename F>
    static Timer schedule(RunLoop& loop, TimeInterval in, F&& block)
    {
        return start(&loop, in, false, std::forward<F>(block));
    }
    template <typename F>
    static Timer repeats(RunLoop& loop, TimeInterval every, F&& block)
    {
        return start(&loop, every, true, std::forward<F>(block));
    }

    /// No firing starts after it. The block is destroyed at once, or when its running call ends.
    void invalidate();
    /// False once a one-shot timer has fired, or after `invalidate()`.
    bool isValid() const;

    friend bool operator==(const Timer&, const Timer&) noexcept = default;

private:
    friend class RunLoop;
    explicit Timer(std::shared_ptr<detail::TimerCore> core) noexcept : core_(std::move(core)) {}

    template <typename F>
    static Timer start(RunLoop* loop, TimeInterval interval, bool repeating, F&& block)
    {
        if constexpr (std::invocable<std::decay_t<F>&, Timer&>) {
            const std::shared_ptr<detail::TimerCore> core = make(interval, repeating);
            setBlock(core, [weak = std::weak_ptr(core), block = std::forward<F>(block)]() mutable {
                Timer timer(weak.lock());
                block(timer);
            });
            return add(loop, core);
        } else {
            const std::shared_ptr<detail::TimerCore> core = make(interval, repeating);
            setBlock(core, std::forward<F>(block));
            return add(loop, core);
        }
    }
    static std::shared_ptr<detail::TimerCore> make(TimeInterval interval, bool repeating);
    static void setBlock(const std::shared_ptr<detail::TimerCore>& core, Block block);
    static Timer add(RunLoop* loop, const std::shared_ptr<detail::TimerCore>& core);

    std::shared_ptr<detail::TimerCore> core_;
};

} // namespace corvane
