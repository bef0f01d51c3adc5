// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Dispatch/Task.h>
#include <corvane/Platform/Dispatch/WorkerPool.h>

#include <new>
#include <utility>

namespace corvane::detail {

namespace {

constexpr int chunkSize = 64;
constexpr int chunkLimit = 2048; // what rests here at most: 8 MB; the rest goes back to the allocator

struct FreeNode {
    FreeNode* next;
    FreeNode* nextChunk;
};

// Full chunks on their way from the threads that end tasks to those that make them. Never destroyed: threads
// outlive the statics at exit.
struct Depot {
    Mutex mutex;
    FreeNode* chunks CORVANE_GUARDED_BY(mutex) = nullptr;
    int count CORVANE_GUARDED_BY(mutex) = 0;

    FreeNode* take()
    {
        const MutexLock lock(mutex);
        FreeNode* chunk = chunks;
        if (chunk != nullptr) {
            chunks = chunk->nextChunk;
            --count;
        }
        return chunk;
    }
    bool put(FreeNode* chunk)
    {
        const MutexLock lock(mutex);
        if (count == chunkLimit)
            return false;
        chunk->nextChunk = chunks;
        chunks = chunk;
        ++count;
        return true;
    }
};

Depot& depot()
{
    static Depot* const shared = new Depot;
    return *shared;
}

// Two stacks a thread, so that a thread on the edge of a chunk does not go to the depot for every task.
// Without constructor and destructor, so that it still works while a thread's other locals are being
// destroyed.
struct Magazine {
    FreeNode* loaded;
    FreeNode* spare; // a full chunk or nothing
    int count;       // in `loaded`
    bool watched;
};
constinit thread_local Magazine magazine __attribute__((tls_model("initial-exec"))){};

void freeNodes(FreeNode* node)
{
    while (node != nullptr)
        ::operator delete(std::exchange(node, node->next));
}

struct MagazineWatch {
    ~MagazineWatch()
    {
        freeNodes(std::exchange(magazine.loaded, nullptr));
        freeNodes(std::exchange(magazine.spare, nullptr));
        magazine.count = 0;
    }
};

[[gnu::noinline]] void watchMagazine()
{
    static thread_local MagazineWatch watch;
    [[maybe_unused]] volatile MagazineWatch* const used = &watch;
    magazine.watched = true;
}

[[gnu::noinline]] void* refill()
{
    if (magazine.spare != nullptr)
        magazine.loaded = std::exchange(magazine.spare, nullptr);
    else
        magazine.loaded = depot().take();
    if (magazine.loaded == nullptr)
        return ::operator new(sizeof(Task));
    if (!magazine.watched) // a thread that only makes tasks has a chunk to give back, too
        watchMagazine();
    magazine.count = chunkSize - 1;
    return std::exchange(magazine.loaded, magazine.loaded->next);
}

[[gnu::noinline]] void spill()
{
    if (magazine.spare != nullptr && !depot().put(magazine.spare))
        freeNodes(magazine.spare);
    magazine.spare = std::exchange(magazine.loaded, nullptr);
    magazine.count = 0;
}

} // namespace

Task* makeTask(Task::Kind kind, Block&& block)
{
    if (!block) [[unlikely]]
        fatalError("An empty block was given to a queue");
    void* memory;
    if (magazine.loaded != nullptr) [[likely]] {
        memory = std::exchange(magazine.loaded, magazine.loaded->next);
        --magazine.count;
    } else {
        memory = refill();
    }
    return ::new (memory) Task(kind, std::move(block));
}

void recycleTask(Task* task) noexcept
{
    task->~Task();
    if (!magazine.watched) [[unlikely]]
        watchMagazine();
    if (magazine.count == chunkSize) [[unlikely]]
        spill();
    magazine.loaded = ::new (static_cast<void*>(task)) FreeNode{magazine.loaded, nullptr};
    ++magazine.count;
}

void runBlock(Block& block, const std::string& where) noexcept
{
    try {
        block();
    } catch (const std::exception& error) {
        fatalError("An exception left a block of " + where + ": " + error.what());
    } catch (...) {
        fatalError("An exception left a block of " + where + ": of a type that carries no text");
    }
}

void WaitingTask::grant() noexcept
{
    FutexWord& word = granted;
    // 2: the waiter sleeps. After the exchange the waiter may be gone and its stack with it; waking an
    // address that nobody waits on is harmless.
    if (word.exchange(1, std::memory_order_acq_rel) == 2)
        futexWake(word, 1);
}

void WaitingTask::waitUntilGranted() noexcept
{
    for (int spins = 0; spins < 200; ++spins) {
        if (granted.load(std::memory_order_acquire) == 1)
            return;
        pauseProcessor();
    }
    const BlockedWorker blocked;
    std::uint32_t seen = 0;
    if (!granted.compare_exchange_strong(seen, 2, std::memory_order_acq_rel))
        return;
    while (granted.load(std::memory_order_acquire) != 1)
        futexWait(granted, 2);
}

} // namespace corvane::detail
