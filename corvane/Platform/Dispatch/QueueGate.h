// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/ReadSlots.h>

#include <atomic>
#include <cstdint>
#include <mutex>

// The part of a dispatch queue that `DispatchQueue::sync` touches inline. Not an interface: use
// DispatchQueue.
namespace corvane::detail {

/// One state word decides who may run:
/// - the low half counts the readers inside (shared admissions; only a concurrent queue has them),
/// - `ordered` says that work which must keep its turn is queued (a barrier, or a caller of `sync` who
/// waits),
/// - `owned` says that one thread has the queue to itself.
/// - `biased` says that readers are not counted but found in the slots of their threads (ReadSlots.cpp); never
///   together with `owned`, and with `ordered` only until it is revoked.
/// A queue whose word is 0 admits anybody at the price of one atomic operation, a biased one a reader at none.
class CORVANE_API QueueGate {
public:
    enum class Kind : std::uint8_t { serial, concurrent, main };

    static constexpr std::uint64_t readerMask = 0xffff'ffff;
    static constexpr std::uint64_t ordered = std::uint64_t{1} << 32;
    static constexpr std::uint64_t owned = std::uint64_t{1} << 33;
    static constexpr std::uint64_t biased = std::uint64_t{1} << 34;
    static constexpr std::uint32_t readsBeforeBias = 4096;

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
        else if (countsDownToBias()) [[unlikely]]
            bias();
    }
    void leaveShared() noexcept
    {
        const std::uint64_t before = state_.fetch_sub(1, std::memory_order_acq_rel);
        if (before == (ordered | 1)) [[unlikely]]
            lastReaderLeft();
    }
    /// Enters without counting itself when the queue is biased: its slot, which `leaveBiased` takes back. Null
    /// otherwise.
    std::atomic<const QueueGate*>* enterBiased() noexcept
    {
        if (!(state_.load(std::memory_order_relaxed) & biased))
            return nullptr;
        if ((readSlots == nullptr || readSlots->depth == ReadSlots::capacity) && !takeSlotsForBias())
            [[unlikely]]
            return nullptr;
        ReadSlots& mine = *readSlots;
        std::atomic<const QueueGate*>& slot = mine.inside[mine.depth++];
        slot.store(this, std::memory_order_release); // what earlier reads of the thread did comes before it
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if ((state_.load(std::memory_order_acquire) & (biased | ordered | owned)) == biased) [[likely]]
            return &slot;
        leaveBiased(slot);
        return nullptr;
    }
    void leaveBiased(std::atomic<const QueueGate*>& slot) noexcept
    {
        ReadSlots& mine = *readSlots;
        // Not counted down, which would wait for the store that counted it up.
        mine.depth = static_cast<std::uint32_t>(&slot - mine.inside);
        slot.store(nullptr, std::memory_order_release);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (mine.isWatched.load(std::memory_order_relaxed)) [[unlikely]]
            leaveWatched(mine.depth);
    }
    void enterExclusive() noexcept
    {
        untilBias_.store(readsBeforeBias, std::memory_order_relaxed);
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

    /// `enterExclusive` when nobody is inside and no work waits; otherwise false, at once.
    bool tryEnterExclusive() noexcept
    {
        if (state_.load(std::memory_order_relaxed) & biased)
            revokeBias();
        std::uint64_t idle = 0;
        return state_.compare_exchange_strong(idle, owned, std::memory_order_acquire,
                                              std::memory_order_relaxed);
    }

protected:
    explicit QueueGate(Kind kind) noexcept : kind_(kind) {}
    ~QueueGate() = default;

    void enterSharedSlow() noexcept;
    void lastReaderLeft() noexcept;
    void enterExclusiveSlow() noexcept;
    void leaveExclusiveSlow() noexcept;
    void destroy() noexcept;
    void bias() noexcept;
    void revokeBias() noexcept;
    static bool takeSlotsForBias() noexcept;
    void leaveWatched(std::uint32_t slot) noexcept;

    // Not exact when threads count at once, and need not be.
    bool countsDownToBias() noexcept
    {
        const std::uint32_t left = untilBias_.load(std::memory_order_relaxed);
        untilBias_.store(left - 1, std::memory_order_relaxed);
        return left == 0;
    }

    alignas(64) std::atomic<std::uint64_t> state_{0};
    const Kind kind_;
    std::atomic<std::uint32_t> untilBias_{readsBeforeBias}; // reads in a row
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
    explicit SharedAdmission(QueueGate& gate) noexcept : gate_(gate), slot_(gate.enterBiased())
    {
        if (slot_ != nullptr)
            return;
        gate.enterShared();
        frame_ = {&gate, innermostRead};
        innermostRead = &frame_;
    }
    ~SharedAdmission()
    {
        if (slot_ != nullptr) {
            gate_.leaveBiased(*slot_);
            return;
        }
        innermostRead = frame_.outer;
        gate_.leaveShared();
    }
    SharedAdmission(const SharedAdmission&) = delete;
    SharedAdmission& operator=(const SharedAdmission&) = delete;

private:
    QueueGate& gate_;
    std::atomic<const QueueGate*>* const slot_;
    ReadFrame frame_; // without a slot
};

class ExclusiveAdmission {
public:
    explicit ExclusiveAdmission(QueueGate& gate) noexcept : gate_(gate) { gate.enterExclusive(); }
    ExclusiveAdmission(QueueGate& gate, std::adopt_lock_t) noexcept : gate_(gate) {}
    ~ExclusiveAdmission() { gate_.leaveExclusive(); }
    ExclusiveAdmission(const ExclusiveAdmission&) = delete;
    ExclusiveAdmission& operator=(const ExclusiveAdmission&) = delete;

private:
    QueueGate& gate_;
};

} // namespace corvane::detail
