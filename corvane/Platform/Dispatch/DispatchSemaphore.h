// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace corvane {

namespace detail {

/// `count` is what a semaphore holds; below zero it is the number of waiters. `permits` is what signals have
/// handed to waiters who have not taken it yet.
struct SemaphoreCore {
    std::atomic<Int> count;
    std::atomic<std::uint32_t> permits{0};
    std::atomic<std::uint32_t> references{1};
    SemaphoreCore* nextKept = nullptr; // of those that outlive their last handle, at exit
};

} // namespace detail

/// A counting semaphore.
///
///     DispatchSemaphore loaded(0);
///     queue.async([loaded] { load(); loaded.signal(); });
///     loaded.wait();
///
/// Everything done before a `signal()` is seen after the `wait()` that it released. One `signal()` releases
/// one waiter. A wait inside a block of a queue does not keep other blocks from a thread. A handle is cheap
/// to copy; copies name the same semaphore, and `==` asks that. A negative initial count stops the process.
/// Thread-safe.
class CORVANE_API DispatchSemaphore {
public:
    explicit DispatchSemaphore(Int count);

    /// Takes one from the count, waiting until there is one.
    void wait() const
    {
        if (core_->count.fetch_sub(1, std::memory_order_acquire) <= 0) [[unlikely]]
            waitSlow();
    }

    /// The same, for at most `timeout`; whether one was taken. A timeout of zero or less only tries.
    [[nodiscard]] bool wait(TimeInterval timeout) const;

    /// Adds one to the count; whether a waiter was released by it.
    bool signal() const
    {
        const Int before = core_->count.fetch_add(1, std::memory_order_release);
        if (before < 0) [[unlikely]]
            wakeOne();
        return before < 0;
    }

    DispatchSemaphore(const DispatchSemaphore& other) noexcept : core_(other.core_)
    {
        core_->references.fetch_add(1, std::memory_order_relaxed);
    }
    DispatchSemaphore& operator=(const DispatchSemaphore& other) noexcept
    {
        DispatchSemaphore copy(other);
        std::swap(core_, copy.core_);
        return *this;
    }
    ~DispatchSemaphore()
    {
        if (core_->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroy();
    }

    friend bool operator==(const DispatchSemaphore&, const DispatchSemaphore&) noexcept = default;

private:
    void waitSlow() const;
    void wakeOne() const;
    void destroy() const noexcept;

    detail::SemaphoreCore* core_;
};

} // namespace corvane
