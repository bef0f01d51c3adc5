// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/ReadSection.h>

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>

namespace corvane::detail {

// A reader announces itself in its thread's slot and then reads; a releaser unlinks and then looks at all
// slots. Each must see the other or come first, which takes a full fence on both sides. Reading is frequent
// and releasing is rare, so the releaser pays for both: membarrier() runs a fence on every processor that
// runs this process. Where the kernel refuses it, readers announce themselves with an atomic exchange.
struct alignas(64) ReaderSlot {
    std::atomic<std::uint64_t> epoch{0}; // of the outermost section; 0 outside of one
    std::uint32_t depth = 0;             // touched by the slot's thread only
    bool isTaken = false;
};

namespace {

struct Registry {
    std::mutex lock;
    std::vector<std::unique_ptr<ReaderSlot>> slots; // as many as threads ever read at the same time
    std::vector<std::unique_ptr<Retired>> retired;  // oldest first
    bool askedForBarrier = false;
};

Registry& registry()
{
    static auto* const instance = new Registry; // threads may read while the process exits
    return *instance;
}

constinit std::atomic<std::uint64_t> currentEpoch{1};
constinit std::atomic<std::uint64_t> newestRetired{
    0}; // epoch of what was retired last and is not yet destroyed
constinit std::atomic<bool> hasBarrier{false};

// A read on the fast path, so not through the dynamic linker's call.
[[gnu::tls_model("initial-exec")]] constinit thread_local ReaderSlot* threadSlot = nullptr;

struct SlotOwner {
    ~SlotOwner()
    {
        const std::lock_guard guard(registry().lock);
        threadSlot->isTaken = false;
        threadSlot =
            nullptr; // a later section, in the destructor of another thread-local, takes a slot for good
    }
};

[[gnu::noinline]] ReaderSlot& takeSlot()
{
    Registry& all = registry();
    {
        const std::lock_guard guard(all.lock);
        if (!std::exchange(all.askedForBarrier, true))
            hasBarrier = ::syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
        auto free = std::ranges::find(all.slots, false, &ReaderSlot::isTaken);
        if (free == all.slots.end())
            free = all.slots.insert(free, std::make_unique<ReaderSlot>());
        threadSlot = free->get();
        threadSlot->isTaken = true;
    }
    static thread_local const SlotOwner owner;
    return *threadSlot;
}

// The epoch of the oldest section, with everything before the call visible to sections that it does not
// count.
std::uint64_t oldestSection(Registry& all)
{
    const auto isOther = [](const auto& slot) { return slot.get() != threadSlot && slot->isTaken; };
    if (hasBarrier && std::ranges::any_of(all.slots, isOther) &&
        ::syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) != 0)
        return 0;
    std::uint64_t oldest = std::numeric_limits<std::uint64_t>::max();
    for (const auto& slot : all.slots)
        // An exchange as the reader's is, so that one of the two comes first and is seen by the other.
        if (const std::uint64_t epoch = slot->epoch.fetch_add(0))
            oldest = std::min(oldest, epoch);
    return oldest;
}

[[gnu::noinline]] void destroyUnseen(std::unique_ptr<Retired> added = nullptr)
{
    std::vector<std::unique_ptr<Retired>> unseen; // destroyed after the lock is given back
    Registry& all = registry();
    const std::lock_guard guard(all.lock);
    if (added) {
        added->epoch = currentEpoch.fetch_add(1);
        newestRetired = added->epoch;
        all.retired.push_back(std::move(added));
    }
    if (all.retired.empty())
        return;
    const std::uint64_t oldest = oldestSection(all);
    const auto seen =
        std::ranges::find_if(all.retired, [=](const auto& item) { return item->epoch >= oldest; });
    unseen.assign(std::move_iterator(all.retired.begin()), std::move_iterator(seen));
    all.retired.erase(all.retired.begin(), seen);
    if (all.retired.empty())
        newestRetired = 0;
}

} // namespace

ReadSection::ReadSection() : slot_(threadSlot ? *threadSlot : takeSlot())
{
    if (slot_.depth++ > 0)
        return;
    const std::uint64_t epoch = currentEpoch.load(std::memory_order_acquire);
    if (hasBarrier.load(std::memory_order_relaxed)) {
        slot_.epoch.store(epoch,
                          std::memory_order_release); // release: what an earlier section read comes before
        std::atomic_signal_fence(std::memory_order_seq_cst);
    } else {
        slot_.epoch.exchange(epoch);
    }
}

ReadSection::~ReadSection()
{
    if (--slot_.depth > 0)
        return;
    const std::uint64_t epoch = slot_.epoch.load(std::memory_order_relaxed);
    if (hasBarrier.load(std::memory_order_relaxed)) {
        slot_.epoch.store(0, std::memory_order_release);
        std::atomic_signal_fence(std::memory_order_seq_cst);
    } else {
        slot_.epoch.exchange(0);
    }
    // Only a section that began before a retirement can have been the last that was waited for.
    if (newestRetired.load(std::memory_order_relaxed) >= epoch) [[unlikely]]
        destroyUnseen();
}

void ReadSection::release(std::unique_ptr<Retired> retired)
{
    destroyUnseen(std::move(retired));
}

} // namespace corvane::detail
