// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Dispatch/QueueCore.h>

#include <algorithm>

namespace corvane::detail {

constinit thread_local const ReadFrame* innermostRead __attribute__((tls_model("initial-exec"))) = nullptr;

namespace {

constexpr int largestBatch = 32;
constexpr int spinsBeforeQueueing = 64;

struct Register {
    Mutex mutex;
    QueueCore* first CORVANE_GUARDED_BY(mutex) = nullptr;
};

Register& allQueues()
{
    static Register* const shared = new Register;
    return *shared;
}

} // namespace

QueueCore::QueueCore(Kind kind, std::string label, DispatchQoS qos)
    : QueueGate(kind), label_(std::move(label)), qos_(qos), pool_(WorkerPool::of(qos))
{
    Register& all = allQueues();
    const MutexLock lock(all.mutex);
    following_ = all.first;
    if (following_ != nullptr)
        following_->previous_ = this;
    all.first = this;
}

QueueCore::~QueueCore()
{
    Register& all = allQueues();
    const MutexLock lock(all.mutex);
    (previous_ != nullptr ? previous_->following_ : all.first) = following_;
    if (following_ != nullptr)
        following_->previous_ = previous_;
}

QueueCore& QueueCore::mainQueue()
{
    static QueueCore* const queue = new QueueCore(Kind::main, "main", DispatchQoS::userInteractive);
    return *queue;
}

// ---- tasks in

void QueueCore::async(Block&& block, bool alone)
{
    if (alone || kind() != Kind::concurrent) {
        pushOrdered(makeTask(Task::Kind::barrier, std::move(block)));
    } else if (push(makeTask(Task::Kind::plain, std::move(block))) == nullptr) {
        schedule();
    }
}

// What was on top before; null when the inbox was empty. The task may be gone when this returns.
Task* QueueCore::push(Task* task) noexcept
{
    Task* top = inbox_.load(std::memory_order_relaxed);
    do
        task->next = top;
    while (!inbox_.compare_exchange_weak(top, task, std::memory_order_seq_cst, std::memory_order_relaxed));
    return top;
}

// Every pusher looks at the bit, not only the one that found the inbox empty: that one may not have set it
// yet, and a `sync` of this thread right behind its own `async` must not find the queue idle.
void QueueCore::pushOrdered(Task* task) noexcept
{
    push(task);
    if (state_.load(std::memory_order_seq_cst) & ordered)
        return;
    untilBias_.store(readsBeforeBias, std::memory_order_relaxed);
    const std::uint64_t before = state_.fetch_or(ordered, std::memory_order_seq_cst);
    if (before & biased)
        revokeBias(); // the last reader that it counts out finds `ordered`
    else if (before == 0)
        schedule();
}

void QueueCore::schedule() noexcept
{
    if (scheduled_.load(std::memory_order_seq_cst) || scheduled_.exchange(true, std::memory_order_seq_cst))
        return;
    if (kind() == Kind::main) {
        wakeMainRunLoop();
        return;
    }
    retain();
    pool_.push(*this, qos_ > DispatchQoS::default_);
}

// ---- the list; for the owner, or under the list lock

void QueueCore::refill() noexcept
{
    if (inbox_.load(std::memory_order_seq_cst) == nullptr)
        return;
    Task* stack = inbox_.exchange(nullptr, std::memory_order_seq_cst);
    Task* const newest = stack;
    Task* turned = nullptr;
    while (stack != nullptr) {
        orderedCount_ += stack->isOrdered();
        Task* const below = stack->next;
        stack->next = turned;
        turned = std::exchange(stack, below);
    }
    (first_ != nullptr ? last_->next : first_) = turned;
    last_ = newest;
}

Task* QueueCore::pop() noexcept
{
    Task* const task = first_;
    first_ = task->next;
    orderedCount_ -= task->isOrdered();
    return task;
}

void QueueCore::giveBack(Task* first) noexcept
{
    Task* end = first;
    while (end->next != nullptr)
        end = end->next;
    listLock_.lock();
    end->next = first_;
    if (first_ == nullptr)
        last_ = end;
    first_ = first;
    listLock_.unlock();
    schedule();
}

void QueueCore::runTask(Task* task) noexcept
{
    runBlock(task->block, label_);
    recycleTask(task);
}

// ---- ownership

bool QueueCore::claim() noexcept
{
    std::uint64_t waiting = ordered;
    return state_.compare_exchange_strong(waiting, ordered | owned, std::memory_order_seq_cst,
                                          std::memory_order_relaxed);
}

// For the owner. Clearing comes before the last look at the inbox, so that a push that missed the one is seen
// by the other; and only an owner may clear, for a reader let in meanwhile could overtake its own write.
void QueueCore::clearOrderedIfDone() noexcept
{
    if (orderedCount_ != 0)
        return;
    state_.fetch_and(~ordered, std::memory_order_seq_cst);
    if (inbox_.load(std::memory_order_seq_cst) == nullptr)
        return;
    refill();
    if (orderedCount_ != 0)
        state_.fetch_or(ordered, std::memory_order_seq_cst);
}

// For the owner of an empty list; false when there is something to do after all.
bool QueueCore::tryRelease() noexcept
{
    clearOrderedIfDone();
    if (first_ != nullptr)
        return false;
    std::uint64_t state = state_.load(std::memory_order_seq_cst);
    while (!(state & ordered)) {
        if (state_.compare_exchange_weak(state, state - owned, std::memory_order_seq_cst))
            return true;
    }
    return false;
}

void QueueCore::releaseToPool() noexcept
{
    state_.fetch_or(ordered, std::memory_order_seq_cst);
    state_.fetch_and(~owned, std::memory_order_seq_cst);
    schedule();
}

// For the owner, who gives up the queue for one reader's admission: lets in those who wait at the head of the
// list. Whether plain tasks follow; who goes on reading runs them, anybody else schedules.
bool QueueCore::admitReaders() noexcept
{
    std::uint64_t admitted = 1;
    Task* waiters = nullptr;
    while (first_ != nullptr && first_->kind == Task::Kind::sharedWaiter) {
        Task* const waiter = pop();
        waiter->next = std::exchange(waiters, waiter);
        ++admitted;
    }
    clearOrderedIfDone();
    const bool plainFollows = first_ != nullptr && first_->kind == Task::Kind::plain;
    state_.fetch_add(admitted - owned, std::memory_order_seq_cst);
    while (waiters != nullptr)
        static_cast<WaitingTask*>(std::exchange(waiters, waiters->next))->grant();
    return plainFollows;
}

// For the owner: brings the queue on until it has passed to somebody else or nobody needs it. A worker runs
// the blocks itself, and may find itself a reader; any other thread only decides who is next.
QueueCore::Now QueueCore::advance(bool onWorker) noexcept
{
    for (;;) {
        if (first_ == nullptr) {
            refill();
            if (first_ == nullptr && tryRelease())
                return Now::outside;
            if (first_ == nullptr)
                continue;
        }
        switch (first_->kind) {
        case Task::Kind::exclusiveWaiter:
            static_cast<WaitingTask*>(pop())->grant();
            return Now::outside;
        case Task::Kind::barrier:
        case Task::Kind::hop:
            if (!onWorker) {
                releaseToPool();
                return Now::outside;
            }
            runTask(pop());
            if (pool_.shouldLeave() || pool_.isSliceOver()) [[unlikely]] {
                if (first_ != nullptr || !tryRelease())
                    releaseToPool();
                return Now::outside;
            }
            break;
        case Task::Kind::plain:
            if (!onWorker) {
                // Not admitted and left again, which would come back here until a worker has taken the task: this
                // thread may hold the last processor of the pool.
                releaseToPool();
                return Now::outside;
            }
            [[fallthrough]];
        case Task::Kind::sharedWaiter:
            const bool plainFollows = admitReaders();
            if (onWorker)
                return Now::reading;
            if (plainFollows)
                schedule();
            if (state_.fetch_sub(1, std::memory_order_seq_cst) != (ordered | 1) || !claim())
                return Now::outside;
            break;
        }
    }
}

// For the owner in a call of `sync`: runs on this thread the blocks that were queued before it, and no later
// ones, lest a stream of writers keep it for ever. `mine`: admitted. `passedOn`: `self` is queued and will be
// granted.
QueueCore::Turn QueueCore::runWhatWasBefore(WaitingTask& self) noexcept
{
    const bool shared = self.kind == Task::Kind::sharedWaiter;
    refill();
    while (first_ != nullptr && first_->kind == Task::Kind::barrier)
        runTask(pop());
    if (shared && orderedCount_ == 0) {
        if (admitReaders())
            schedule();
        return Turn::mine;
    }
    if (first_ == nullptr) {
        state_.fetch_and(~ordered, std::memory_order_seq_cst);
        if (inbox_.load(std::memory_order_seq_cst) != nullptr)
            state_.fetch_or(ordered, std::memory_order_seq_cst);
        return Turn::mine;
    }
    // Somebody else's turn comes first.
    push(&self);
    state_.fetch_or(ordered, std::memory_order_seq_cst);
    advance(false);
    return Turn::passedOn;
}

// ---- sync

void QueueCore::waitShared() noexcept
{
    WaitingTask self(Task::Kind::sharedWaiter);
    for (int spins = 0;;) {
        const std::uint64_t state = state_.load(std::memory_order_seq_cst);
        if (!(state & (ordered | owned))) {
            if (!(state_.fetch_add(1, std::memory_order_seq_cst) & (ordered | owned)))
                return;
            state_.fetch_sub(
                1, std::memory_order_seq_cst); // alone with `ordered` it is claimed in the next round
        } else if (state == ordered) {
            if (claim()) {
                if (runWhatWasBefore(self) == Turn::mine)
                    return;
                break;
            }
        } else if (++spins < spinsBeforeQueueing) {
            pauseProcessor();
        } else {
            pushOrdered(&self);
            break;
        }
    }
    self.waitUntilGranted();
}

void QueueCore::waitExclusive() noexcept
{
    WaitingTask self(Task::Kind::exclusiveWaiter);
    if (state_.load(std::memory_order_relaxed) & biased)
        revokeBias();
    for (int spins = 0;;) {
        std::uint64_t state = state_.load(std::memory_order_seq_cst);
        if (state == 0) {
            if (state_.compare_exchange_strong(state, owned, std::memory_order_seq_cst))
                return;
        } else if (state == ordered) {
            if (claim()) {
                if (runWhatWasBefore(self) == Turn::mine)
                    return;
                break;
            }
        } else if (++spins < spinsBeforeQueueing) {
            pauseProcessor();
        } else {
            pushOrdered(&self);
            break;
        }
    }
    self.waitUntilGranted();
}

void QueueGate::enterSharedSlow() noexcept
{
    for (const ReadFrame* frame = innermostRead; frame != nullptr; frame = frame->outer) {
        if (frame->queue == this)
            return; // inside already, so nobody owns the queue; the count just taken stands
    }
    if (readSlots != nullptr && readSlots->isInside(*this))
        return;
    state_.fetch_sub(1, std::memory_order_seq_cst); // alone with `ordered` it is claimed at once
    QueueCore::of(*this).waitShared();
}

void QueueGate::lastReaderLeft() noexcept
{
    QueueCore& queue = QueueCore::of(*this);
    if (queue.claim())
        queue.advance(false);
}

void QueueGate::enterExclusiveSlow() noexcept
{
    QueueCore::of(*this).waitExclusive();
}

void QueueGate::leaveExclusiveSlow() noexcept
{
    QueueCore::of(*this).advance(false);
}

void QueueGate::destroy() noexcept
{
    // A static handle may go at exit while a block is inside: then the queue stays.
    if (!WorkerPool::isProcessExiting())
        delete &QueueCore::of(*this);
}

void QueueGate::hop(void (*call)(void*), void* context)
{
    WaitingTask self(Task::Kind::hop);
    self.call = call;
    self.context = context;
    QueueCore::of(*this).pushOrdered(&self);
    self.waitUntilGranted();
    if (self.failure)
        std::rethrow_exception(self.failure);
}

bool QueueCore::drainOnMainThread()
{
    scheduled_.exchange(false, std::memory_order_seq_cst);
    if (!claim())
        return false;
    refill();
    while (first_ != nullptr) {
        Task* const task = pop();
        if (task->kind == Task::Kind::barrier) {
            runTask(task);
            continue;
        }
        auto& caller = *static_cast<WaitingTask*>(task);
        try {
            caller.call(caller.context);
        } catch (...) {
            caller.failure = std::current_exception();
        }
        caller.grant();
    }
    if (!tryRelease())
        releaseToPool();
    return true;
}

// ---- on a worker

void QueueCore::run()
{
    scheduled_.exchange(false, std::memory_order_seq_cst);
    if (kind() == Kind::concurrent)
        readOnWorker();
    else if (claim())
        advance(true);
    release();
}

void QueueCore::readOnWorker() noexcept
{
    Worker& worker = *WorkerPool::current();
    if (state_.fetch_add(1, std::memory_order_seq_cst) & owned) {
        state_.fetch_or(ordered, std::memory_order_seq_cst); // so that the owner looks for what was left here
        leaveShared();
        return;
    }
    for (;;) {
        const bool mayGoOn = runPlainTasks(worker);
        if (state_.fetch_sub(1, std::memory_order_seq_cst) != (ordered | 1) || !claim())
            return;
        if (!mayGoOn) {
            releaseToPool();
            return;
        }
        if (advance(true) == Now::outside)
            return;
    }
}

// Whether none is left that may run now; false when this worker must leave some to others.
bool QueueCore::runPlainTasks(Worker& worker) noexcept
{
    bool mayGoOn = true;
    const ReadFrame frame{this, innermostRead};
    innermostRead = &frame;
    worker.batchOwner = this;
    for (;;) {
        int size = batchSize_.load(std::memory_order_relaxed);
        bool more = false;
        Task* const batch = takeBatch(size, more);
        if (batch == nullptr)
            break;
        if (more)
            schedule();
        mayGoOn = runBatch(worker, batch, size) && !pool_.isSliceOver();
        if (!mayGoOn) {
            schedule();
            break;
        }
    }
    // The monitor may be giving back what it took from this worker's batch.
    worker.batchLock.lock();
    worker.batchOwner = nullptr;
    worker.batchLock.unlock();
    innermostRead = frame.outer;
    return mayGoOn;
}

// At most `size` plain tasks from the head, linked; sets `size` to their number. Callers of `sync` who stand
// among them are let in.
Task* QueueCore::takeBatch(int& size, bool& more) noexcept
{
    Task* waiters = nullptr;
    Task* batch = nullptr;
    Task** end = &batch;
    int taken = 0;
    listLock_.lock();
    while (taken < size) {
        if (first_ == nullptr)
            refill();
        if (first_ == nullptr)
            break;
        if (first_->kind == Task::Kind::sharedWaiter) {
            state_.fetch_add(1, std::memory_order_seq_cst);
            Task* const waiter = pop();
            waiter->next = std::exchange(waiters, waiter);
        } else if (first_->kind == Task::Kind::plain) {
            *end = pop();
            end = &(*end)->next;
            ++taken;
        } else {
            break;
        }
    }
    *end = nullptr;
    more = first_ != nullptr ? first_->kind == Task::Kind::plain
                             : inbox_.load(std::memory_order_relaxed) != nullptr;
    listLock_.unlock();
    while (waiters != nullptr)
        static_cast<WaitingTask*>(std::exchange(waiters, waiters->next))->grant();
    size = taken;
    return batch;
}

// False when this worker must leave. Several tasks are taken at once only while they are tiny; those not
// started stay within reach of others, because the one that runs may block, or wait for one of them.
bool QueueCore::runBatch(Worker& worker, Task* first, int size) noexcept
{
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::microseconds tiny{4};
    constexpr std::chrono::microseconds large{20};
    const bool isMeasured = size > 1 || batchSize_.load(std::memory_order_relaxed) == 1;
    const Clock::time_point start = isMeasured ? Clock::now() : Clock::time_point{};
    if (size > 1)
        pool_.watchBatches();
    bool mustLeave = false;
    for (Task* task = first; task != nullptr;) {
        if (size > 1)
            worker.batch.store(task->next, std::memory_order_seq_cst);
        runTask(task);
        mustLeave = pool_.shouldLeave();
        task = size > 1 ? worker.batch.exchange(nullptr, std::memory_order_acq_rel) : nullptr;
        if (task != nullptr && (mustLeave || (pool_.isHungry() && Clock::now() - start > large))) {
            giveBack(task);
            break;
        }
    }
    if (isMeasured) {
        const auto spent = Clock::now() - start;
        if (spent > large)
            batchSize_.store(1, std::memory_order_relaxed);
        else if (spent < tiny && size < largestBatch)
            batchSize_.store(std::min(largestBatch, size * 2), std::memory_order_relaxed);
    }
    return !mustLeave;
}

// ---- reports

std::string QueueCore::reportAll()
{
    std::string text;
    Register& all = allQueues();
    const MutexLock lock(all.mutex);
    for (const QueueCore* queue = all.first; queue != nullptr; queue = queue->following_) {
        const std::uint64_t state = queue->state_.load();
        const bool hasInbox = queue->inbox_.load() != nullptr;
        if (state == 0 && !hasInbox && !queue->scheduled_.load())
            continue;
        constexpr const char* kinds[] = {"serial", "concurrent", "main"};
        text += "queue \"" + queue->label_ + "\" (" + kinds[static_cast<int>(queue->kind())] + "): ";
        if (state & owned)
            text += "a block runs alone";
        else
            text += std::to_string(state & readerMask) + " inside";
        text += state & ordered ? ", work waits its turn" : "";
        text += hasInbox ? ", new work" : "";
        text += queue->scheduled_.load() ? ", waits for a thread\n" : "\n";
    }
    return text;
}

} // namespace corvane::detail
