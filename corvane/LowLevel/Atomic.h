// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Dispatch/DispatchSemaphore.h>

#include <concepts>
#include <functional>
#include <type_traits>
#include <utility>

namespace corvane {

/// A value that threads share: every access is one critical section.
///
///     Atomic<Int> finished(0);
///     queue.async([&] { finished.update([](Int n) { return n + 1; }); });
///     label.show(finished.value());
///
/// `finished.setValue(finished.value() + 1)` is two critical sections, and what another thread writes between
/// them is lost; `update` is the one that reads and writes in a single one.
///
/// The guard is not re-entrant: a block of `update` that touches the same value, or any copy of it, waits for
/// itself and never returns.
///
/// A copy shares the guard and not the value: two copies exclude each other, and each keeps its own value.
/// Copying and assigning the whole, and `rawValue`, go past the guard. Share one by reference or by
/// `shared_ptr`.
///
/// The operations are thread-safe; `rawValue`, copying and assigning are thread-compatible.
template <typename T>
struct Atomic {
    T rawValue;

    explicit Atomic(T value) : rawValue(std::move(value)) {}

    /// A copy made inside the guard.
    [[nodiscard]] T value() const
    {
        const Turn turn(semaphore_);
        return rawValue;
    }

    void setValue(T newValue)
    {
        const Turn turn(semaphore_);
        rawValue = std::move(newValue);
    }

    /// Replaces the value with what `block` makes of it. When `block` throws, the value stays, the guard is
    /// released and the caller gets the exception.
    template <std::invocable<const T&> F>
    requires std::is_assignable_v<T&, std::invoke_result_t<F, const T&>>
    void update(F&& block)
    {
        const Turn turn(semaphore_);
        rawValue = std::invoke(std::forward<F>(block), std::as_const(rawValue));
    }

    /// The guard: a count of 1, or 0 while somebody is inside.
    const DispatchSemaphore& semaphore() const noexcept { return semaphore_; }

private:
    class Turn {
    public:
        explicit Turn(const DispatchSemaphore& semaphore) : semaphore_(semaphore) { semaphore_.wait(); }
        ~Turn() { semaphore_.signal(); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        const DispatchSemaphore& semaphore_;
    };

    DispatchSemaphore semaphore_{1};
};

} // namespace corvane
