// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/DispatchQoS.h>
#include <corvane/Platform/Dispatch/QueueGate.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace corvane {

/// A queue of blocks. A serial queue runs one block at a time, in the order given; a concurrent one starts
/// them in the order given and runs them side by side, but a barrier runs alone: after everything given
/// before it has ended and before anything given after it starts.
///
///     DispatchQueue values("com.example.values", DispatchQoS::unspecified,
///                          DispatchQueue::Attributes::concurrent);
///     values.asyncBarrier([&] { table["a"] = 1; });           // a write, nobody waits for it
///     int a = values.sync([&] { return table.at("a"); });     // a read; sees the write above
///     DispatchQueue::main().async([a] { label.show(a); });
///
/// Blocks given to `async` run on a shared pool of threads, as many as there are processors. A block that
/// blocks (in `sync`, in a semaphore, in a system call) is replaced by another thread as long as work waits,
/// up to 1024 threads a priority; beyond that work waits and a line on standard error names the queues. Which
/// thread runs a block is not promised, and a caller of `sync` may run blocks queued before its own.
///
/// `sync` is admitted at the price of two atomic operations when nobody is in its way. A concurrent queue that
/// has only been read for a while (4096 times) admits further reads at the price of none, side by side without
/// a word that they share; the next barrier pays a few microseconds to end that. Nesting it:
/// - inside a block of the same serial queue, a barrier or, on the main thread, the main queue, it waits for
/// good;
/// - inside a block of the same concurrent queue (no barrier) it always proceeds, also when a barrier waits.
///
/// An exception leaving the block of `sync` reaches the caller; one leaving any other block stops the process
/// with its text. A handle is cheap to copy; copies name the same queue, and `==` asks that. The last handle
/// may go while blocks are queued: they still run. When the process exits, no further block starts. After
/// `fork` the child may only `exec`. Thread-safe.
class CORVANE_API DispatchQueue {
public:
    enum class Attributes { serial, concurrent };

    explicit DispatchQueue(std::string label, DispatchQoS qos = DispatchQoS::unspecified,
                           Attributes attributes = Attributes::serial);

    /// The serial queue of the main thread, served by `RunLoop::main()`.
    static DispatchQueue main();

    const std::string& label() const noexcept;
    DispatchQoS qos() const noexcept;

    /// Runs `block` when its turn comes; returns at once. The handle must outlive the call: where the block drops
    /// the last one, call through a copy.
    void async(Block block) const;
    /// The same, alone on a concurrent queue. On a serial queue a plain `async`.
    void asyncBarrier(Block block) const;
    /// `async` after at least `delay`; a delay of zero or less is none. Fires to the millisecond.
    void asyncAfter(TimeInterval delay, Block block) const;

    /// Runs `block` on this thread as soon as the queue admits it and returns its result. On the main queue
    /// the main thread runs it, and this one waits.
    template <std::invocable F>
    std::invoke_result_t<F> sync(F&& block) const
    {
        if (gate_->kind() == detail::QueueGate::Kind::concurrent) {
            const detail::SharedAdmission admission(*gate_);
            return std::invoke(std::forward<F>(block));
        }
        return syncBarrier(std::forward<F>(block));
    }

    /// `sync`, alone on a concurrent queue.
    template <std::invocable F>
    std::invoke_result_t<F> syncBarrier(F&& block) const
    {
        if (gate_->kind() == detail::QueueGate::Kind::main) [[unlikely]]
            return hop(std::forward<F>(block));
        const detail::ExclusiveAdmission admission(*gate_);
        return std::invoke(std::forward<F>(block));
    }

    /// `syncBarrier` if nobody is in its way; otherwise nothing. Whether the block ran.
    template <std::invocable F>
    [[nodiscard]] bool trySyncBarrier(F&& block) const
    {
        if (gate_->kind() == detail::QueueGate::Kind::main || !gate_->tryEnterExclusive())
            return false;
        const detail::ExclusiveAdmission admission(*gate_, std::adopt_lock);
        std::invoke(std::forward<F>(block));
        return true;
    }

    /// A line for each queue of the process that has work: label, who is inside, what waits; then the pool's
    /// threads. For a watchdog or a debugger; a moment's picture, not a consistent one.
    static std::string report();

    DispatchQueue(const DispatchQueue& other) noexcept : gate_(other.gate_) { gate_->retain(); }
    DispatchQueue& operator=(const DispatchQueue& other) noexcept
    {
        DispatchQueue copy(other);
        std::swap(gate_, copy.gate_);
        return *this;
    }
    ~DispatchQueue() { gate_->release(); }

    friend bool operator==(const DispatchQueue&, const DispatchQueue&) noexcept = default;

private:
    explicit DispatchQueue(detail::QueueGate* retained) noexcept : gate_(retained) {}

    template <typename F>
    std::invoke_result_t<F> hop(F&& block) const
    {
        using Result = std::invoke_result_t<F>;
        if constexpr (std::is_void_v<Result>) {
            auto run = [&] { std::invoke(std::forward<F>(block)); };
            gate_->hop([](void* context) { (*static_cast<decltype(run)*>(context))(); }, &run);
        } else if constexpr (std::is_reference_v<Result>) {
            std::remove_reference_t<Result>* result = nullptr;
            hop([&] { result = std::addressof(std::invoke(std::forward<F>(block))); });
            return static_cast<Result>(*result);
        } else {
            std::optional<Result> result;
            hop([&] { result.emplace(std::invoke(std::forward<F>(block))); });
            return *std::move(result);
        }
    }

    detail::QueueGate* gate_;
};

} // namespace corvane
