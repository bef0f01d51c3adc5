// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/LowLevel/LibraryQueue.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>

#include <utility>

namespace corvane {

/// Do not call `value()` or `setValue()`: THEY NEVER COMPLETE. For a value that threads share use `Atomic`
/// (`corvane/LowLevel/Atomic.h`).
///
/// A value beside the queue that is meant to guard it. Only the constructors and the two fields are of use:
///
///     Sync<Int> counter(0);                           // its own serial queue
///     counter.queue.sync([&] { ++counter.rawValue; }); // guarded by hand
///
/// Both accessors go through the queue and then, inside it, through themselves again, so that `rawValue` is
/// never reached. On a serial queue, such as the one made here, the inner call waits for the outer one and
/// the thread is blocked for good. On a concurrent queue every level is admitted, until the thread's stack is
/// exhausted and the process dies of it. This is deliberate and will not change.
///
/// A copy shares the queue and not the value: two copies wait for each other, and each keeps its own value.
/// Thread-compatible; what is done through `queue` is as safe as any other use of a queue.
template <typename T>
struct Sync {
    T rawValue;
    DispatchQueue queue;

    /// Makes a serial queue labelled "org.corvane.Corvane.SyncQueue".
    explicit Sync(T value)
        : rawValue(std::move(value)),
          queue(detail::libraryQueue("SyncQueue", DispatchQueue::Attributes::serial))
    {}
    Sync(T value, DispatchQueue guard) : rawValue(std::move(value)), queue(std::move(guard)) {}

    /// Never returns; see above.
    [[nodiscard]] T value() const
    {
        return queue.sync([this] { return getValue(); });
    }
    /// Never returns; see above.
    void setValue(T newValue)
    {
        queue.sync([&] { setValue(std::move(newValue)); });
    }

private:
    T getValue() const { return value(); }
};

} // namespace corvane
