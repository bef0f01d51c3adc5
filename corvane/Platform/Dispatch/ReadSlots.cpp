// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Dispatch/QueueGate.h>
#include <corvane/Platform/Dispatch/ReadSlots.h>

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <memory>
#include <utility>
#include <vector>

// How a queue that is only read spares its readers the one word they all write. Once it was read often enough
// without anything else, `biased` is set in its state word, and a reader that finds it does not count itself
// but writes the queue into a slot of its own thread. Whoever wants the queue in another way revokes the bias:
// it clears the bit, looks through the slots of all threads and counts the readers found there in the state
// word, as if they had entered so.
//
// A reader fills its slot and then looks at the state word again; the revoker clears the bit and then looks at
// the slots. One of them must see the other, which takes a full fence on both sides. So does leaving: a reader
// empties its slot and then looks whether it is watched. Reads are frequent and revocations rare, so the
// revoker pays for both: membarrier() runs a fence on every processor that runs this process. Where the kernel
// refuses it there is no bias.
namespace corvane::detail {

constinit thread_local ReadSlots* readSlots = nullptr;

namespace {

struct Registry {
    Mutex mutex;
    std::vector<std::unique_ptr<ReadSlots>> all CORVANE_GUARDED_BY(mutex); // as many as threads ever at once
    std::vector<ReadSlots*> free CORVANE_GUARDED_BY(mutex);
};

Registry& registry()
{
    static auto* const instance = new Registry; // threads may read while the process exits
    return *instance;
}

bool hasProcessBarrier()
{
    static const bool has = ::syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
    return has;
}

void processBarrier()
{
    // A host that forbids the call after it was granted leaves no way to know who is inside.
    precondition(::syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) == 0,
                 "membarrier() is refused after it was granted");
}

struct SlotsOwner {
    ~SlotsOwner()
    {
        Registry& slots = registry();
        const MutexLock lock(slots.mutex);
        slots.free.push_back(std::exchange(readSlots, nullptr)); // a later read takes some for good
    }
};

void takeSlots()
{
    Registry& slots = registry();
    {
        const MutexLock lock(slots.mutex);
        if (slots.free.empty()) {
            readSlots = slots.all.emplace_back(std::make_unique<ReadSlots>()).get();
        } else {
            readSlots = slots.free.back();
            slots.free.pop_back();
        }
    }
    static thread_local const SlotsOwner owner;
}

} // namespace

void QueueGate::bias() noexcept
{
    untilBias_.store(readsBeforeBias, std::memory_order_relaxed);
    if (!hasProcessBarrier())
        return;
    if (readSlots == nullptr)
        takeSlots();
    std::uint64_t state = state_.load(std::memory_order_relaxed);
    while (!(state & (ordered | owned | biased)) &&
           !state_.compare_exchange_weak(state, state | biased, std::memory_order_acq_rel,
                                         std::memory_order_relaxed)) {
    }
}

bool QueueGate::takeSlotsForBias() noexcept
{
    if (readSlots == nullptr)
        takeSlots();
    return readSlots->depth < ReadSlots::capacity;
}

void QueueGate::revokeBias() noexcept
{
    Registry& slots = registry();
    {
        const MutexLock lock(slots.mutex);
        if (!(state_.load(std::memory_order_seq_cst) & biased))
            return;
        // Counts itself as a reader, so that nobody gets the queue before those who are inside are counted.
        state_.fetch_add(1 - biased, std::memory_order_seq_cst);
        processBarrier();
        std::vector<std::pair<ReadSlots*, std::uint32_t>> seen;
        for (const auto& thread : slots.all)
            for (std::uint32_t slot = 0; slot < ReadSlots::capacity; ++slot)
                if (thread->inside[slot].load(std::memory_order_acquire) == this &&
                    !(thread->counted & 1U << slot)) { // an earlier revocation may have counted it
                    thread->isWatched.store(true, std::memory_order_seq_cst);
                    seen.emplace_back(thread.get(), slot);
                }
        if (!seen.empty())
            processBarrier(); // from here on, whoever leaves sees that it is watched
        for (const auto& [thread, slot] : seen) {
            if (thread->inside[slot].load(std::memory_order_acquire) == this) {
                thread->counted |= 1U << slot;
                state_.fetch_add(1, std::memory_order_seq_cst);
            } else if (thread->counted == 0) {
                thread->isWatched.store(false, std::memory_order_relaxed);
            }
        }
    }
    leaveShared();
}

void QueueGate::leaveWatched(std::uint32_t slot) noexcept
{
    {
        const MutexLock lock(registry().mutex);
        const std::uint32_t bit = 1U << slot;
        if (!(readSlots->counted & bit))
            return;
        readSlots->counted &= ~bit;
        if (readSlots->counted == 0)
            readSlots->isWatched.store(false, std::memory_order_relaxed);
    }
    leaveShared();
}

} // namespace corvane::detail
