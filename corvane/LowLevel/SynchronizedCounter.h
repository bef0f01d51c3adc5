// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>

namespace corvane {

/// A count that threads share, where nobody waits to write.
///
///     SynchronizedCounter imported(0);
///     queue.async([&] { importOne(); imported.increment(); });
///     label.show(imported.getValue());
///
/// Writes are queued and return at once; they take effect one at a time, in the order given. A read waits for
/// the writes given before it: after `increment()` the same thread reads the incremented count. To read and
/// write in one step use `Atomic`.
///
/// Destroying it while writes are queued is safe. Thread-safe.
class CORVANE_API SynchronizedCounter {
public:
    explicit SynchronizedCounter(Int value);
    ~SynchronizedCounter();
    SynchronizedCounter(const SynchronizedCounter&) = delete;
    SynchronizedCounter& operator=(const SynchronizedCounter&) = delete;

    /// A count beyond the largest `Int` stops the process when the write takes effect.
    void increment();
    /// A count below the smallest `Int` stops the process when the write takes effect.
    void decrement();
    void setValue(Int value);

    Int getValue() const;

private:
    struct State {
        Int value;
    };

    DispatchQueue queue_;
    State*
        state_; // freed by the last block of the queue, behind every write: a write needs no count of users
};

} // namespace corvane
