// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/Task.h>
#include <corvane/Platform/Dispatch/WorkerPool.h>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace corvane::detail {

namespace {

constinit thread_local Worker* currentWorker __attribute__((tls_model("initial-exec"))) = nullptr;

std::atomic<pid_t> exitingThread{0};
FutexWord stopWord{0}; // 1 while the process exits and no block may start

int processorCount()
{
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0)
        return std::max(1, CPU_COUNT(&set));
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

std::int64_t processorTime(pthread_t thread)
{
    clockid_t clock{};
    timespec time{};
    if (pthread_getcpuclockid(thread, &clock) != 0 || clock_gettime(clock, &time) != 0)
        return -1;
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// The kernel's word on a thread of this process: 'R' for one that runs or could, 'S' or 'D' for one that
// sleeps.
char schedulingState(pid_t thread)
{
    char path[48];
    std::snprintf(path, sizeof path, "/proc/self/task/%d/stat", static_cast<int>(thread));
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return '?';
    char text[128];
    const ssize_t size = read(file, text, sizeof text - 1);
    close(file);
    if (size <= 0)
        return '?';
    text[size] = '\0';
    const char* const nameEnd = std::strrchr(text, ')'); // the name may hold anything
    return nameEnd != nullptr && nameEnd[1] == ' ' ? nameEnd[2] : '?';
}

void blockSignals(sigset_t& before)
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
}

// The threads of the pools are nobody's to join, and signals meant for the host are not delivered to them.
template <typename Body>
bool startThread(Body* body)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    sigset_t before;
    blockSignals(before);
    pthread_t thread{};
    const auto entry = [](void* context) -> void* {
        Body* const given = static_cast<Body*>(context);
        (*given)();
        delete given;
        return nullptr;
    };
    const bool started = pthread_create(&thread, &attributes, entry, body) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    if (!started)
        delete body;
    return started;
}

class Starter {
public:
    Starter()
    {
        startThread(new auto([this] {
            pthread_setname_np(pthread_self(), "corvane-start");
            for (;;) {
                asked_.wait();
                std::vector<Block> works;
                {
                    const MutexLock lock(mutex_);
                    works.swap(works_);
                }
                for (Block& work : works)
                    work();
            }
        }));
    }
    void post(Block work)
    {
        {
            const MutexLock lock(mutex_);
            works_.push_back(std::move(work));
        }
        asked_.signal();
    }

private:
    Mutex mutex_;
    std::vector<Block> works_ CORVANE_GUARDED_BY(mutex_);
    const DispatchSemaphore asked_{0};
};

Starter& starter()
{
    static Starter* const shared = new Starter;
    return *shared;
}

} // namespace

WorkerPool::WorkerPool(int nice, const char* name) : nice_(nice), name_(name), target_(processorCount()) {}

// Never destroyed: workers run until the process is gone, also through the destruction of statics.
WorkerPool* WorkerPool::all()
{
    static WorkerPool* const pools = [] {
        std::atexit(stopAtExit);
        void* const memory = ::operator new(3 * sizeof(WorkerPool), std::align_val_t(alignof(WorkerPool)));
        WorkerPool* const first = static_cast<WorkerPool*>(memory);
        ::new (first) WorkerPool(10, "corvane-bg");
        ::new (first + 1) WorkerPool(5, "corvane-util");
        ::new (first + 2) WorkerPool(0, "corvane-pool");
        return first;
    }();
    return pools;
}

WorkerPool& WorkerPool::of(DispatchQoS qos)
{
    switch (qos) {
    case DispatchQoS::background:
        return all()[0];
    case DispatchQoS::utility:
        return all()[1];
    default:
        return all()[2];
    }
}

Worker* WorkerPool::current() noexcept
{
    return currentWorker;
}

void WorkerPool::push(Runnable& runnable, bool urgent)
{
    MutexLock lock(mutex_);
    runnable.nextReady_ = nullptr;
    Runnable*& end = readyEnd_[urgent];
    (end != nullptr ? end->nextReady_ : ready_[urgent]) = &runnable;
    end = &runnable;
    readyCount_.store(readyCount_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    const bool isWide = allowance_ > 0;
    const bool isSearched = searching_.load(std::memory_order_relaxed); // it looks once more before it parks
    if (isSearched && !isWide)
        return;
    const Orders orders = engageOne();
    // While the gate is wide the queue's next piece follows at once: wakes in pairs spread faster than a chain.
    Orders further;
    if (isWide && !isSearched && active_ < limit())
        further = engageOne();
    lock.unlock();
    carryOut(orders);
    carryOut(further);
}

Runnable* WorkerPool::popReady()
{
    // Urgent queues first, but every eighth time the others, lest they starve.
    const bool urgentFirst = ++popped_ % 8 != 0;
    for (const bool urgent : {urgentFirst, !urgentFirst}) {
        Runnable* const first = ready_[urgent];
        if (first == nullptr)
            continue;
        ready_[urgent] = first->nextReady_;
        if (ready_[urgent] == nullptr)
            readyEnd_[urgent] = nullptr;
        readyCount_.store(readyCount_.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
        return first;
    }
    return nullptr;
}

// Finds a thread for waiting work, if one may run.
WorkerPool::Orders WorkerPool::engageOne()
{
    Orders orders;
    if (stopping_)
        return orders;
    if (active_ >= limit()) {
        wakeMonitor();
    } else if (!parked_.empty()) {
        orders.wake = parked_.back();
        parked_.pop_back();
        orders.wake->state = Worker::State::active;
        orders.wake->seenProcessorTime = -1;
        orders.wake->wake.store(1, std::memory_order_release);
        ++active_;
    } else if (threads_ < threadLimit) {
        orders.start = true;
        ++threads_;
        ++active_;
    } else {
        orders.announce = isAnnouncementDue();
    }
    return orders;
}

void WorkerPool::carryOut(const Orders& orders)
{
    if (orders.wake != nullptr)
        futexWake(orders.wake->wake, 1);
    if (orders.start)
        atOwnPriority([this] { startWorker(); });
    if (orders.announce)
        announceStandstill();
}

// A thread begins at the priority of the thread that starts it, and no ordinary user may raise it again: workers of
// the lower pools leave starting to a thread that was made before them.
void WorkerPool::atOwnPriority(Block work)
{
    if (currentWorker == nullptr || currentWorker->pool->nice_ == 0) {
        work();
        return;
    }
    starter().post(std::move(work));
}

void WorkerPool::startWorker()
{
    // A second time: what is static and was made after the first queue goes before the first call of it.
    [[maybe_unused]] static const int registered = std::atexit(stopAtExit);
    if (nice_ != 0)
        starter(); // before there is a thread of lower priority
    auto* const worker = new Worker;
    worker->pool = this;
    const auto body = [this, worker] {
        workerMain(*worker);
        delete worker;
    };
    if (startThread(new auto(body)))
        return;
    delete worker;
    bool announce = false;
    {
        const MutexLock lock(mutex_);
        --threads_;
        --active_;
        announce = isAnnouncementDue();
        wakeMonitor(); // which tries again
    }
    if (announce)
        announceStandstill();
}

bool WorkerPool::isAnnouncementDue()
{
    const auto now = std::chrono::steady_clock::now();
    if (announced_ != std::chrono::steady_clock::time_point{} && now - announced_ < std::chrono::seconds(10))
        return false;
    announced_ = now;
    return true;
}

void WorkerPool::announceStandstill() noexcept
{
    const std::string text =
        "Corvane: every thread of the dispatch pool is blocked and no more can be started; "
        "further blocks wait until one becomes free.\n" +
        DispatchQueue::report();
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text.data(), text.size());
}

// A worker without work keeps looking for a moment before it parks: a queue that is fed all the time then
// costs its feeder no system call. Only one does at a time.
void WorkerPool::search() noexcept
{
    patience_.lookFor([this] {
        for (int pauses = 0; pauses < 15; ++pauses)
            pauseProcessor();
        return hasReady();
    });
}

void WorkerPool::rejoin(Worker& worker)
{
    worker.attention.store(false, std::memory_order_relaxed);
    if (worker.state == Worker::State::deemedBlocked) {
        worker.state = Worker::State::active;
        worker.seenProcessorTime = -1;
        ++active_;
    }
}

void WorkerPool::workerMain(Worker& worker)
{
    currentWorker = &worker;
    pthread_setname_np(pthread_self(), name_);
    if (nice_ != 0)
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), getpriority(PRIO_PROCESS, 0) + nice_);

    MutexLock lock(mutex_);
    worker.tid = gettid();
    worker.thread = pthread_self();
    workers_.push_back(&worker);
    for (;;) {
        while (stopping_) {
            lock.unlock();
            futexWait(stopWord, 1);
            lock.lock();
        }
        rejoin(worker);
        worker.progress.store(worker.progress.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        if (active_ <= limit()) {
            if (Runnable* const next = popReady()) {
                Orders orders;
                if (hasReady() && !searching_)
                    orders = engageOne();
                lock.unlock();
                carryOut(orders);
                worker.sliceStart = {};
                next->run();
                lock.lock();
                continue;
            }
            if (!searching_) {
                searching_ = true;
                lock.unlock();
                search();
                lock.lock();
                searching_ = false;
                if (hasReady())
                    continue;
            }
        }
        if (hasReady())
            wakeMonitor(); // a pusher relied on this worker's search, but enough others came back meanwhile
        --active_;
        worker.state = Worker::State::parked;
        worker.wake.store(0, std::memory_order_relaxed);
        parked_.push_back(&worker);
        lock.unlock();
        const std::chrono::nanoseconds patience = idleTime;
        if (worker.wake.load(std::memory_order_acquire) == 0)
            futexWait(worker.wake, 0, &patience);
        lock.lock();
        if (worker.state == Worker::State::parked) {
            parked_.erase(std::find(parked_.begin(), parked_.end(), &worker));
            if (worker.wake.load(std::memory_order_relaxed) == 0) {
                std::erase(workers_, &worker);
                --threads_;
                return;
            }
        }
    }
}

bool WorkerPool::shouldLeave() noexcept
{
    Worker* const worker = currentWorker;
    worker->progress.store(worker->progress.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    return worker->attention.load(std::memory_order_relaxed) && checkpoint(*worker);
}

bool WorkerPool::isSliceOverSlow() noexcept
{
    Worker& worker = *currentWorker;
    const auto now = std::chrono::steady_clock::now();
    if (worker.sliceStart == std::chrono::steady_clock::time_point{})
        worker.sliceStart = now;
    return now - worker.sliceStart > std::chrono::milliseconds(1);
}

bool WorkerPool::checkpoint(Worker& worker) noexcept
{
    const MutexLock lock(mutex_);
    rejoin(worker);
    return stopping_ || active_ > limit();
}

void WorkerPool::willBlock(Worker& worker) noexcept
{
    if (worker.batch.load(std::memory_order_relaxed) != nullptr) {
        // What this worker took in advance must not wait with it.
        if (Task* const rest = worker.batch.exchange(nullptr, std::memory_order_acq_rel))
            worker.batchOwner->giveBack(rest);
    }
    MutexLock lock(mutex_);
    if (worker.blockedDepth++ != 0)
        return;
    rejoin(worker);
    worker.state = Worker::State::blocked;
    --active_;
    Orders orders;
    if (hasReady() && !searching_)
        orders = engageOne();
    lock.unlock();
    carryOut(orders);
}

void WorkerPool::didBlock(Worker& worker) noexcept
{
    const MutexLock lock(mutex_);
    if (--worker.blockedDepth != 0)
        return;
    worker.state = Worker::State::active;
    worker.seenProcessorTime = -1;
    if (++active_ > limit())
        worker.attention.store(true, std::memory_order_relaxed);
}

// ---- the monitor

void WorkerPool::wakeMonitor() noexcept
{
    switch (monitor_.exchange(monitorWatches)) {
    case monitorAbsent:
        atOwnPriority([this] {
            if (!startThread(new auto([this] { monitorMain(); })))
                monitor_.store(monitorAbsent); // the next that finds no thread tries again
        });
        break;
    case monitorSleeps:
        futexWake(monitor_, 1);
        break;
    default:
        break;
    }
}

bool WorkerPool::isWatchNeeded() const
{
    return hasReady() || std::any_of(workers_.begin(), workers_.end(),
                                     [](const Worker* worker) { return worker->batch.load(); });
}

// Standing still is not enough, for a busy machine makes threads wait: only the kernel knows which it is.
WorkerPool::Seen WorkerPool::look(Worker& worker)
{
    const std::uint64_t progress = worker.progress.load(std::memory_order_relaxed);
    const std::int64_t time = processorTime(worker.thread);
    const bool isFirst = worker.seenProcessorTime < 0;
    const bool isSameBlock = progress == worker.seenProgress;
    const bool still = time >= 0 && time == worker.seenProcessorTime && isSameBlock;
    worker.seenProgress = progress;
    worker.seenProcessorTime = time;
    if (isFirst)
        return Seen::firstTime;
    if (still) {
        const char state = schedulingState(worker.tid);
        if (state == 'S' || state == 'D')
            return Seen::asleep;
    }
    return isSameBlock ? Seen::inSameBlock : Seen::running;
}

// Looks at every active worker; true when one was found asleep inside its block, or may be soon.
bool WorkerPool::watchOnce()
{
    MutexLock lock(mutex_);
    if (stopping_)
        return false;
    int found = 0;
    int running = 0;
    int blocked = 0;
    std::vector<std::pair<Worker*, Task*>> stranded;
    for (Worker* const worker : workers_) {
        const Seen seen = worker->state == Worker::State::active ? look(*worker) : Seen::firstTime;
        running += seen == Seen::running || seen == Seen::inSameBlock;
        if (seen == Seen::asleep) {
            worker->state = Worker::State::deemedBlocked;
            worker->attention.store(true, std::memory_order_relaxed);
            --active_;
            ++found;
        }
        // One that computes for long may compute until a task that it has taken in advance has run.
        if ((seen == Seen::asleep || seen == Seen::inSameBlock) &&
            worker->batch.load(std::memory_order_relaxed) != nullptr) {
            worker->batchLock.lock(); // the worker cannot leave its queue until the tasks are back in it
            stranded.emplace_back(worker, worker->batch.exchange(nullptr, std::memory_order_acq_rel));
        }
        blocked += worker->state == Worker::State::deemedBlocked;
    }
    // When all that ran was found asleep, what waits will probably sleep too: open the gate wide instead of
    // replacing one by one. It closes when some turn out to compute; those too many leave again.
    if (found > 0 && running == 0)
        allowance_ = 3 * blocked;
    else if (found == 0 && running > 0)
        allowance_ = 0;
    const bool isExpected = found > 0 || allowance_ > 0;
    if (active_ > limit()) {
        for (Worker* const worker : workers_)
            worker->attention.store(true, std::memory_order_relaxed);
    }
    lock.unlock();
    for (const auto& [worker, tasks] : stranded) {
        if (tasks != nullptr)
            worker->batchOwner->giveBack(tasks);
        worker->batchLock.unlock();
    }
    lock.lock();
    Orders orders;
    if (hasReady() && active_ < limit())
        orders = engageOne();
    lock.unlock();
    carryOut(orders);
    return isExpected;
}

void WorkerPool::monitorMain()
{
    constexpr std::chrono::microseconds shortest{50};
    constexpr std::chrono::microseconds longest{2000};
    pthread_setname_np(pthread_self(), "corvane-watch");
    prctl(PR_SET_TIMERSLACK, 1000UL);
    for (;;) {
        auto tick = shortest;
        auto needed = std::chrono::steady_clock::now();
        for (auto now = needed; now - needed < std::chrono::milliseconds(5);
             now = std::chrono::steady_clock::now()) {
            std::this_thread::sleep_for(tick);
            tick = watchOnce() ? shortest : std::min(tick * 2, longest);
            const MutexLock lock(mutex_);
            if (isWatchNeeded())
                needed = now;
        }
        {
            const MutexLock lock(mutex_);
            monitor_.store(monitorSleeps);
            allowance_ = 0;
            if (isWatchNeeded()) {
                monitor_.store(monitorWatches);
                continue;
            }
        }
        const std::chrono::nanoseconds patience = idleTime;
        while (monitor_.load() == monitorSleeps) {
            futexWait(monitor_, monitorSleeps, &patience);
            std::uint32_t sleeps = monitorSleeps;
            if (monitor_.compare_exchange_strong(sleeps, monitorAbsent))
                return;
        }
    }
}

// ---- the end of the process

void WorkerPool::setStopping(bool stopping)
{
    const MutexLock lock(mutex_);
    stopping_ = stopping;
    for (Worker* const worker : workers_)
        worker->attention.store(true, std::memory_order_relaxed);
    if (!stopping && hasReady())
        wakeMonitor(); // which engages a thread
}

void WorkerPool::stopAtExit()
{
    exitingThread = gettid();
    stopWord = 1;
    for (int band = 0; band < 3; ++band)
        all()[band].setStopping(true);
}

bool WorkerPool::isProcessExiting() noexcept
{
    return exitingThread.load(std::memory_order_relaxed) != 0;
}

void WorkerPool::resumeIfThisThreadExits() noexcept
{
    if (exitingThread.load(std::memory_order_relaxed) == 0 || exitingThread.load() != gettid() ||
        stopWord != 1)
        return;
    stopWord = 0;
    for (int band = 0; band < 3; ++band)
        all()[band].setStopping(false);
    futexWake(stopWord, threadLimit * 4);
}

std::string WorkerPool::report()
{
    std::string text;
    for (int band = 0; band < 3; ++band) {
        WorkerPool& pool = all()[band];
        const MutexLock lock(pool.mutex_);
        if (pool.threads_ == 0 && !pool.hasReady())
            continue;
        text += std::string("pool ") + pool.name_ + ": " + std::to_string(pool.threads_) + " threads, " +
                std::to_string(pool.active_.load()) + " active, " + std::to_string(pool.parked_.size()) +
                " parked, " + std::to_string(pool.readyCount_.load()) + " queues waiting for one\n";
    }
    return text;
}

} // namespace corvane::detail
