// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/DispatchQoS.h>
#include <corvane/Platform/Dispatch/Futex.h>

#include <pthread.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

// The threads behind the queues. Internal to the dispatch layer.
namespace corvane::detail {

class WorkerPool;
struct Task;

/// Something that wants a thread: a queue with work. It stands in a pool's list at most once.
class Runnable {
public:
    virtual void run() = 0;
    /// Puts tasks that were taken and not started back in front of the others.
    virtual void giveBack(Task* first) noexcept = 0;

protected:
    virtual ~Runnable() = default;

private:
    friend class WorkerPool;
    Runnable* nextReady_ = nullptr;
};

struct alignas(64) Worker {
    WorkerPool* pool = nullptr;
    // Written by the worker, read by the monitor.
    std::atomic<std::uint64_t> progress{0};
    /// Tasks taken from `batchOwner` and not started; whoever exchanges the list out has them.
    std::atomic<Task*> batch{nullptr};
    SpinLock batchLock; // held to change `batchOwner`, and while somebody else takes from `batch`
    Runnable* batchOwner = nullptr;

    /// Set for the worker to look at `checkpoint()`.
    std::atomic<bool> attention{false};
    FutexWord wake{0};

    // Guarded by the pool's mutex.
    enum class State { active, deemedBlocked, blocked, parked } state = State::active;
    int blockedDepth = 0;
    pid_t tid = 0;
    pthread_t thread{};
    std::uint64_t seenProgress = 0;
    std::int64_t seenProcessorTime = -1; // -1: not looked at since it became active

    std::chrono::steady_clock::time_point sliceStart{}; // the worker's own
};

/// One elastic pool for each scheduling priority. It keeps as many workers active as there are processors. A
/// worker that waits in one of our own primitives says so; one that blocks in a system call is found by the
/// monitor, a thread that looks only while work waits. Each blocked worker is replaced, up to `threadLimit`.
/// A worker whose block ends when enough others are active parks, and leaves after `idleTime`.
class WorkerPool {
public:
    static constexpr int threadLimit = 1024;
    static constexpr std::chrono::seconds idleTime{5};

    static WorkerPool& of(DispatchQoS qos);
    /// The worker that this thread is, or null.
    static Worker* current() noexcept;
    static std::string report();

    void push(Runnable& runnable, bool urgent);

    /// Asked by a worker between two blocks: whether it should put its queue back and return.
    bool shouldLeave() noexcept;
    /// Whether others wait for a thread and the queue that this worker is in has had its millisecond.
    bool isSliceOver() noexcept { return hasReady() && isSliceOverSlow(); }
    /// Whether a processor lacks work.
    bool isHungry() const noexcept
    {
        return active_.load(std::memory_order_relaxed) < target_ ||
               searching_.load(std::memory_order_relaxed);
    }
    bool hasReady() const noexcept { return readyCount_.load(std::memory_order_relaxed) != 0; }

    void willBlock(Worker& worker) noexcept;
    void didBlock(Worker& worker) noexcept;
    /// Said by a worker that has taken more than one task at once: the monitor frees them should it block.
    void watchBatches() noexcept
    {
        if (monitor_.load() != monitorWatches) [[unlikely]]
            wakeMonitor();
    }
    /// At exit no further block starts, unless the thread that ends the process waits for one.
    static void resumeIfThisThreadExits() noexcept;
    static bool isProcessExiting() noexcept;

private:
    static constexpr std::uint32_t monitorAbsent = 0;
    static constexpr std::uint32_t monitorSleeps = 1;
    static constexpr std::uint32_t monitorWatches = 2;

    // What a holder of the lock decided and does after letting go of it.
    struct Orders {
        Worker* wake = nullptr;
        bool start = false;
        bool announce = false;
    };

    WorkerPool(int nice, const char* name);
    static void atOwnPriority(Block work);
    static WorkerPool* all();
    static void stopAtExit();

    Orders engageOne() CORVANE_REQUIRES(mutex_);
    void carryOut(const Orders& orders);
    void startWorker();
    bool isAnnouncementDue() CORVANE_REQUIRES(mutex_);
    void announceStandstill() noexcept;
    Runnable* popReady() CORVANE_REQUIRES(mutex_);
    void search() noexcept;
    void workerMain(Worker& worker);
    void rejoin(Worker& worker) CORVANE_REQUIRES(mutex_);
    bool checkpoint(Worker& worker) noexcept;
    static bool isSliceOverSlow() noexcept;
    int limit() const CORVANE_REQUIRES(mutex_) { return target_ + allowance_; }
    void wakeMonitor() noexcept;
    void monitorMain();
    bool watchOnce();
    bool isWatchNeeded() const CORVANE_REQUIRES(mutex_);
    enum class Seen { firstTime, running, inSameBlock, asleep };
    static Seen look(Worker& worker);
    void setStopping(bool stopping);

    const int nice_;
    const char* const name_;
    const int target_;

    Mutex mutex_;
    Runnable* ready_[2] CORVANE_GUARDED_BY(mutex_) = {};
    Runnable* readyEnd_[2] CORVANE_GUARDED_BY(mutex_) = {};
    unsigned popped_ CORVANE_GUARDED_BY(mutex_) = 0;
    std::vector<Worker*> workers_ CORVANE_GUARDED_BY(mutex_);
    std::vector<Worker*> parked_ CORVANE_GUARDED_BY(mutex_);
    int threads_ CORVANE_GUARDED_BY(mutex_) = 0;
    bool monitorRuns_ CORVANE_GUARDED_BY(mutex_) = false;
    int allowance_ CORVANE_GUARDED_BY(mutex_) =
        0; // active workers beyond `target_` while all others are blocked
    std::chrono::steady_clock::time_point announced_ CORVANE_GUARDED_BY(mutex_){};
    bool stopping_ CORVANE_GUARDED_BY(mutex_) = false;

    alignas(64) std::atomic<int> readyCount_{0};
    std::atomic<int> active_{0};
    std::atomic<bool> searching_{false};
    Patience patience_{72}; // of the one that searches
    FutexWord monitor_{monitorAbsent};
};

/// For a scope in which this thread sleeps: its pool, if it has one, gives its processor to another.
class BlockedWorker {
public:
    BlockedWorker() noexcept : worker_(WorkerPool::current())
    {
        if (worker_ != nullptr)
            worker_->pool->willBlock(*worker_);
        else
            WorkerPool::resumeIfThisThreadExits();
    }
    ~BlockedWorker()
    {
        if (worker_ != nullptr)
            worker_->pool->didBlock(*worker_);
    }
    BlockedWorker(const BlockedWorker&) = delete;
    BlockedWorker& operator=(const BlockedWorker&) = delete;

private:
    Worker* worker_;
};

} // namespace corvane::detail
