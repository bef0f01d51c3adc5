// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/ReadSection.h>

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <mutex>
#include <utility>
#include <vector>

namespace corvane::detail {

constinit std::atomic<std::uint64_t> ReadSection::currentEpoch{1};
constinit std::atomic<std::uint64_t> ReadSection::newestRetired{0};
constinit std::atomic<bool> ReadSection::hasBarrier{false};
constinit thread_local ReadSection::Slot* ReadSection::threadSlot = nullptr;

struct ReadSections {
    using Slot = ReadSection::Slot;

    std::mutex lock;
    std::vector<std::unique_ptr<Slot>> slots;      // as many as threads ever read at the same time
    std::vector<std::unique_ptr<Retired>> retired; // oldest first
    bool askedForBarrier = false;

    static ReadSections& all()
    {
        static auto* const instance = new ReadSections; // threads may read while the process exits
        return *instance;
    }

    // The epoch of the oldest section, with all that was done before the call visible to those it does not count.
    std::uint64_t oldest()
    {
        const auto isOther = [](const auto& slot) {
            return slot.get() != ReadSection::threadSlot && slot->isTaken;
        };
        if (ReadSection::hasBarrier && std::ranges::any_of(slots, isOther) &&
            ::syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0) != 0)
            return 0;
        std::uint64_t oldest = std::numeric_limits<std::uint64_t>::max();
        for (const auto& slot : slots)
            // A change as the reader's exchange is one, so that one of the two comes first and is seen by the other.
            if (const std::uint64_t epoch = slot->epoch.fetch_add(0))
                oldest = std::min(oldest, epoch);
        return oldest;
    }

    struct ThreadEnd {
        ~ThreadEnd()
        {
            const std::lock_guard guard(all().lock);
            ReadSection::threadSlot->isTaken = false;
            // A later section, in the destructor of another thread-local, takes a slot for good.
            ReadSection::threadSlot = nullptr;
        }
    };
};

ReadSection::Slot& ReadSection::takeSlot()
{
    ReadSections& all = ReadSections::all();
    {
        const std::lock_guard guard(all.lock);
        if (!std::exchange(all.askedForBarrier, true))
            hasBarrier = ::syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
        auto free = std::ranges::find(all.slots, false, &Slot::isTaken);
        if (free == all.slots.end())
            free = all.slots.insert(free, std::make_unique<Slot>());
        threadSlot = free->get();
        threadSlot->isTaken = true;
    }
    static thread_local const ReadSections::ThreadEnd atThreadEnd;
    return *threadSlot;
}

void ReadSection::destroyUnseen(std::unique_ptr<Retired> added)
{
    std::vector<std::unique_ptr<Retired>> unseen; // destroyed after the lock is given back
    ReadSections& all = ReadSections::all();
    const std::lock_guard guard(all.lock);
    if (added) {
        added->epoch = currentEpoch.fetch_add(1);
        newestRetired = added->epoch;
        all.retired.push_back(std::move(added));
    }
    if (all.retired.empty())
        return;
    const std::uint64_t oldest = all.oldest();
    const auto seen =
        std::ranges::find_if(all.retired, [=](const auto& item) { return item->epoch >= oldest; });
    unseen.assign(std::move_iterator(all.retired.begin()), std::move_iterator(seen));
    all.retired.erase(all.retired.begin(), seen);
    if (all.retired.empty())
        newestRetired = 0;
}

void ReadSection::release(std::unique_ptr<Retired> retired)
{
    destroyUnseen(std::move(retired));
}

} // namespace corvane::detail
