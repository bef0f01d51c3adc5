// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <atomic>
#include <cstdint>

// The part of a dispatch queue that `DispatchQueue::sync` touches inline. Not an interface: use
// DispatchQueue.
namespace corvane::detail {

/// One state word decides who may run:
/// - the low half counts the readers inside (shared admissions; only a concurrent queue has them),
/// - `ordered` says that work which must keep its turn is queued (a barrier, or a caller of `sync` who
/// waits),
/// - `owned` says that one thread has the queue to itself.
/// A queue whose word is 0 admits anybody at the price of one atomic operation.
class CORVANE_API QueueGate {
public:
    enum class Kind : std::uint8_t { serial, concurrent, main };

    static constexpr std::uint64_t readerMask = 0xffff'ffff;
    static constexpr std::uint64_t ordered = std::uint64_t{1} << 32;
    static constexpr std::uint64_t owned = std::uint64_t{1} << 33;

    QueueGate(const QueueGate&) = delete;
    QueueGate& operator=(const QueueGate&) = delete;

    Kind kind() const noexcept { return kind_; }

    void retain() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void release() noexcept
    {
        if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroy();
    }

    void enterShared() noexcept
    {
        if (state_.fetch_add(1, std::memory_order_acquire) & (ordered | owned)) [[unlikely]]
            enterSharedSlow();
    }
    void leaveShared() noexcept
    {
        const std::uint64_t before = state_.fetch_sub(1, std::memory_order_acq_rel);
        if (before == (ordered | 1)) [[unlikely]]
            lastReaderLeft();
    }
    void enterExclusive() noexcept
    {
        std::uint64_t idle = 0;
        if (!state_.compare_exchange_strong(idle, owned, std::memory_order_acquire,
                                            std::memory_order_relaxed)) [[unlikely]]
            enterExclusiveSlow();
    }
    void leaveExclusive() noexcept
    {
        std::uint64_t alone = owned;
        if (!state_.compare_exchange_strong(alone, 0, std::memory_order_release, std::memory_order_relaxed))
            [[unlikely]]
            leaveExclusiveSlow();
    }

    /// Has `call(context)` run by the main thread in its turn and waits for it; rethrows what it throws.
    void hop(void (*call)(void*), void* context);

protected:
    explicit QueueGate(Kind kind) noexcept : kind_(kind) {}
    ~QueueGate() = default;

    void enterSharedSlow() noexcept;
    void lastReaderLeft() noexcept;
    void enterExclusiveSlow() noexcept;
    void leaveExclusiveSlow() noexcept;
    void destroy() noexcept;

    alignas(64) std::atomic<std::uint64_t> state_{0};
    const Kind kind_;
    std::atomic<std::uint32_t> references_{1};
};

/// The reads that this thread is inside of, innermost first. A thread that is already inside a read of a
/// queue is let in again even when a write waits; otherwise the two would wait for each other.
struct ReadFrame {
    const QueueGate* queue;
    const ReadFrame* outer;
};
extern CORVANE_API constinit thread_local const ReadFrame* innermostRead
    __attribute__((tls_model("initial-exec")));

class SharedAdmission {
public:
    explicit SharedAdmission(QueueGate& gate) noexcept : gate_(gate)
    {
        gate.enterShared();
        frame_ = {&gate, innermostRead};
        innermostRead = &frame_;
    }
    ~SharedAdmission()
    {
        innermostRead = frame_.outer;
        gate_.leaveShared();
    }
    SharedAdmission(const SharedAdmission&) = delete;
    SharedAdmission& operator=(const SharedAdmission&) = delete;

private:
    QueueGate& gate_;
    ReadFrame frame_;
};

class ExclusiveAdmission {
public:
    explicit ExclusiveAdmission(QueueGate& gate) noexcept : gate_(gate) { gate.enterExclusive(); }
    ~ExclusiveAdmission() { gate_.leaveExclusive(); }
    ExclusiveAdmission(const ExclusiveAdmission&) = delete;
    ExclusiveAdmission& operator=(const ExclusiveAdmission&) = delete;

private:
    QueueGate& gate_;
};

} // namespace corvane::detail
