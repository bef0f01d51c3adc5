// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/IndexedOperationsQueue.h>
#include <corvane/LowLevel/LibraryQueue.h>
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Dispatch/QueueCore.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <utility>
#include <vector>

namespace corvane {

namespace {

using State = detail::IndexedOperationsState;
using Clock = std::chrono::steady_clock;

// The end semaphore is changed by the batch while others wait on it; everything else is its owner's to order.
Mutex endMutex;

DispatchQueue buildOperationsQueue(DispatchQoS qualityOfService)
{
    return detail::libraryQueue("IndexedOperationsQueue", DispatchQueue::Attributes::concurrent,
                                qualityOfService);
}

const DispatchQueue& mainQueue()
{
    static const DispatchQueue queue = DispatchQueue::main();
    return queue;
}

// One batch. Operations run in lanes: a lane is a block of the batch queue that takes a free place and then claims
// one index after another, so that an operation costs a claim and not a block, a semaphore and a thread's attention.
// There are as many lanes as the pool has threads for: each asks for the next one before it starts to work, so an
// operation that blocks brings in another thread with another lane, up to the number of places. Operations so short
// that lanes would only take the claim counter from each other have one lane; a stand-by looks every few milliseconds
// whether it still gets on.
//
// Reports on the main queue are not a block each: operations that have ended gather in an inbox, and one block of the
// main queue, the delivery, reports what is there, looks a moment for more and is asked for again.
//
// While `shouldContinue` is set nobody claims freely: the driver, a block of its own, asks, waits for a place and
// submits operation by operation.
class Batch : public std::enable_shared_from_this<Batch> {
public:
    Batch(std::shared_ptr<State> state, Int count)
        : state_(std::move(state)),
          count_(count),
          places_(state_->maxConcurrentOperationCount),
          isStuck_(places_ == 0),
          queue_(buildOperationsQueue(state_->qualityOfService))
    {
        precondition(places_ >= 0, "The number of concurrent operations cannot be negative");
    }

    static void start(const std::shared_ptr<Batch>& batch)
    {
        batch->self_ = batch;
        batch->queue_.async([batch] { batch->begin(); });
    }

private:
    static constexpr std::chrono::nanoseconds tiny{200};
    static constexpr Int leastJudged = 4;    // operations
    static constexpr int mostLongRuns = 4;   // in a row
    static constexpr Int mostUnchecked = 64; // operations of a lane
    static constexpr std::size_t mostHeldBack = 8;
    static constexpr std::chrono::milliseconds shortestStandBy{2};
    static constexpr std::chrono::milliseconds longestStandBy{16};
    static constexpr std::chrono::microseconds longestDelivery{100};

    void begin();
    void drive();
    void lane();
    void requestLane();
    void judge(Clock::duration each);
    void armStandBy();
    void standBy();
    bool perform(Int index);
    void conclude();

    bool executeShouldContinue();
    std::any executeWillPerform(Int index);
    std::any executePerform(Int index, const std::any& input);
    void executeDidPerform(Int index, const std::any& output);
    void executeDidPostProcessAll();

    bool hasUnclaimed() const noexcept { return next_.load(std::memory_order_relaxed) < count_; }
    struct Ended {
        Int index;
        std::any output;
    };
    void handIn(Int index, std::any&& output);
    void deliverHeldBack();
    void deliver();
    void requestDelivery();
    void takeEnded() noexcept;
    void reportDue();

    bool tryPlace() noexcept;
    void leavePlace();
    void bringLane();
    void waitForPlace();
    void finished(Int operations);

    const std::shared_ptr<State> state_;
    const Int count_;
    std::atomic<Int> places_;
    const bool isStuck_;
    const DispatchQueue queue_;
    std::shared_ptr<Batch> self_; // until the batch has ended

    std::atomic<bool> isDriven_{false};
    std::atomic<bool> isLaneRequested_{false};
    std::atomic<Int> lanes_{0}; // that look for a place once more after they are counted out
    detail::Patience forPlace_{512};
    std::atomic<bool> isTiny_{false}; // one lane is enough, while the stand-by watches it
    std::atomic<int> longRuns_{0};
    std::atomic<bool> isStandByArmed_{false};
    std::chrono::milliseconds standByAfter_ = shortestStandBy;
    Int claimedBefore_ = 0; // the stand-by's
    std::atomic<bool> driverWaits_{false};
    const DispatchSemaphore placeLeft_{0};
    alignas(64) std::atomic<Int> next_{0};
    alignas(64) std::atomic<Int> remaining_{count_};

    alignas(64) detail::SpinLock inboxLock_;
    std::vector<Ended> inbox_; // under the lock, as is the next
    bool isDeliveryRequested_ = false;
    std::atomic<bool> isInboxFilled_{false};
    alignas(64) std::vector<Ended> due_; // the delivery's own, as is the next
    detail::Patience forEnded_{512};
};

// A callback may replace itself while it runs, so those of the notifier queue are called through a copy.

bool Batch::executeShouldContinue()
{
    return state_->notifierQueue.sync([this] {
        const auto callback = state_->shouldContinue;
        return !callback || callback();
    });
}

std::any Batch::executeWillPerform(Int index)
{
    if (!state_->willPerformOperation)
        return {};
    return state_->notifierQueue.sync([this, index] {
        const auto callback = state_->willPerformOperation;
        return callback ? callback(index) : std::any{};
    });
}

std::any Batch::executePerform(Int index, const std::any& input)
{
    return state_->performOperation ? state_->performOperation(index, input) : std::any{};
}

void Batch::executeDidPerform(Int index, const std::any& output)
{
    const auto callback = state_->didPerformOperation;
    if (callback)
        callback(index, output);
}

void Batch::executeDidPostProcessAll()
{
    if (!state_->didPostProcessAllOperations)
        return;
    state_->notifierQueue.sync([this] {
        const auto callback = state_->didPostProcessAllOperations;
        if (callback)
            callback();
    });
}

void Batch::begin()
{
    precondition(count_ >= 0, "The number of operations cannot be negative");
    if (count_ == 0)
        conclude();
    else
        drive();
}

void Batch::drive()
{
    while (state_->shouldContinue) {
        isDriven_ = true;
        if (!hasUnclaimed())
            return;
        if (!executeShouldContinue()) {
            const Int first = next_.exchange(count_);
            if (first < count_)
                finished(count_ - first);
            return;
        }
        if (isStuck_)
            break;
        waitForPlace();
        const Int index = next_.fetch_add(1);
        if (index >= count_)
            return;
        queue_.async([batch = shared_from_this(), index] {
            if (batch->perform(index)) {
                batch->leavePlace();
                batch->finished(1);
            } else {
                batch->deliverHeldBack();
            }
        });
    }
    isDriven_ = false;
    if (isStuck_)
        self_.reset(); // nothing will ever run; those who wait go on waiting
    else
        requestLane();
}

void Batch::requestLane()
{
    if (!isLaneRequested_.load() && !isLaneRequested_.exchange(true))
        queue_.async([batch = shared_from_this()] { batch->lane(); });
}

void Batch::lane()
{
    isLaneRequested_.exchange(false);
    lanes_.fetch_add(1);
    detail::WorkerPool& pool = *detail::WorkerPool::current()->pool;
    Int done = 0;
    Int checkEvery = 1;
    Int unchecked = 0;
    Clock::time_point checked = Clock::now();
    bool hasPlace = tryPlace();
    if (hasPlace && !isTiny_.load(std::memory_order_relaxed) && hasUnclaimed() &&
        places_.load(std::memory_order_relaxed) > 0)
        requestLane();
    while (hasPlace && !isDriven_.load(std::memory_order_relaxed)) {
        if (state_->shouldContinue) [[unlikely]] {
            if (hasUnclaimed() && !isDriven_.exchange(true))
                queue_.async([batch = shared_from_this()] { batch->drive(); });
            break;
        }
        const Int index = next_.fetch_add(1, std::memory_order_relaxed);
        if (index >= count_)
            break;
        if (perform(index))
            ++done;
        else
            hasPlace = tryPlace();
        bool mustLeave = pool.shouldLeave();
        // Short operations are not worth a look at the clock each.
        if (++unchecked >= checkEvery || !hasPlace) {
            const Clock::time_point now = Clock::now();
            const Clock::duration spent = now - checked;
            if (unchecked >= leastJudged)
                judge(spent / unchecked);
            checkEvery = spent < std::chrono::microseconds(50) ? std::min(checkEvery * 2, mostUnchecked) : 1;
            unchecked = 0;
            mustLeave =
                mustLeave || pool.isSliceOver() ||
                (isTiny_.load(std::memory_order_relaxed) && lanes_.load(std::memory_order_relaxed) > 1);
            if (!hasPlace && hasUnclaimed()) {
                // While the main thread reports, a place will be left at once.
                deliverHeldBack();
                hasPlace = forPlace_.lookFor(
                    [this] { return places_.load(std::memory_order_relaxed) > 0 && tryPlace(); });
                checked = Clock::now();
            } else {
                checked = now;
            }
        }
        if (mustLeave)
            break;
    }
    deliverHeldBack();
    lanes_.fetch_sub(1);
    if (hasPlace)
        leavePlace();
    if (lanes_.load() == 0)
        bringLane(); // for a place that was left to this lane
    if (done != 0)
        finished(done);
}

// Whether operations that take so long each are worth more than one lane. A busy machine makes any look long at times.
void Batch::judge(Clock::duration each)
{
    if (each < tiny) {
        longRuns_.store(0, std::memory_order_relaxed);
        if (isTiny_.load(std::memory_order_relaxed))
            return;
        if (!isStandByArmed_.exchange(true))
            armStandBy();
        isTiny_ = true;
    } else if (isTiny_.load(std::memory_order_relaxed) && ++longRuns_ >= mostLongRuns) {
        longRuns_ = 0;
        isTiny_ = false;
        bringLane();
    }
}

void Batch::armStandBy()
{
    queue_.asyncAfter(standByAfter_, [weak = weak_from_this()] {
        if (const std::shared_ptr<Batch> batch = weak.lock())
            batch->standBy();
    });
}

// An operation of the only lane may take long, or wait for one that comes after it.
void Batch::standBy()
{
    deliverHeldBack();
    const Int claimed = std::min(next_.load(), count_);
    if (claimed == count_)
        return;
    if (claimed - claimedBefore_ >= mostUnchecked) {
        standByAfter_ = shortestStandBy;
    } else {
        standByAfter_ = std::min(standByAfter_ * 2, longestStandBy);
        isTiny_ = false;
        bringLane();
    }
    claimedBefore_ = claimed;
    armStandBy();
}

// True when the operation has ended; false when the main thread will report and end it.
bool Batch::perform(Int index)
{
    const std::any input = executeWillPerform(index);
    std::any output = executePerform(index, input);
    if (!state_->didPerformOperation)
        return true;
    if (state_->notifierQueue != mainQueue()) {
        state_->notifierQueue.sync([&] { executeDidPerform(index, output); });
        return true;
    }
    // The main thread is a hop away: instead of waiting for it this thread goes on with another operation. The place
    // stays taken until the report has returned.
    handIn(index, std::move(output));
    return false;
}

void Batch::handIn(Int index, std::any&& output)
{
    inboxLock_.lock();
    inbox_.push_back({index, std::move(output)});
    isInboxFilled_.store(true, std::memory_order_relaxed);
    const bool isDue = !isTiny_.load(std::memory_order_relaxed) || inbox_.size() >= mostHeldBack;
    const bool mustRequest = isDue && !std::exchange(isDeliveryRequested_, true);
    inboxLock_.unlock();
    if (mustRequest)
        requestDelivery();
}

// Tiny operations are not worth waking the main thread for each: what they left is delivered together, at the latest
// when their lane can do no more.
void Batch::deliverHeldBack()
{
    if (!isInboxFilled_.load(std::memory_order_relaxed))
        return;
    inboxLock_.lock();
    const bool mustRequest = !inbox_.empty() && !std::exchange(isDeliveryRequested_, true);
    inboxLock_.unlock();
    if (mustRequest)
        requestDelivery();
}

void Batch::requestDelivery()
{
    mainQueue().async([batch = shared_from_this()] { batch->deliver(); });
}

// When there is nothing the delivery is over, and the next operation asks for another.
void Batch::takeEnded() noexcept
{
    inboxLock_.lock();
    due_.swap(inbox_);
    isInboxFilled_.store(false, std::memory_order_relaxed);
    isDeliveryRequested_ = !due_.empty();
    inboxLock_.unlock();
}

// A block that an operation has queued on the main queue runs before the operation's report. So what is found while
// other blocks wait is reported by the next delivery, which is queued behind them.
void Batch::deliver()
{
    const Clock::time_point start = Clock::now();
    reportDue();
    for (;;) {
        forEnded_.lookFor([this] { return isInboxFilled_.load(std::memory_order_relaxed); });
        takeEnded();
        if (due_.empty())
            return;
        if (detail::QueueCore::mainQueue().hasBlocksWaiting() || Clock::now() - start > longestDelivery) {
            requestDelivery();
            return;
        }
        reportDue();
    }
}

void Batch::reportDue()
{
    for (Ended& operation : due_) {
        executeDidPerform(operation.index, operation.output);
        operation.output.reset();
        leavePlace();
    }
    if (lanes_.load() == 0)
        bringLane();
    const Int reported = static_cast<Int>(due_.size());
    due_.clear();
    if (reported != 0)
        finished(reported);
}

bool Batch::tryPlace() noexcept
{
    Int free = places_.load(std::memory_order_relaxed);
    while (free > 0) {
        if (places_.compare_exchange_weak(free, free - 1))
            return true;
    }
    return false;
}

// A place left is a place for the next operation: somebody must come and take it. Tiny ones wait until the last of
// several that are left together.
void Batch::leavePlace()
{
    places_.fetch_add(1);
    if (driverWaits_.load() && driverWaits_.exchange(false))
        placeLeft_.signal();
    if (!isTiny_.load())
        bringLane();
}

void Batch::bringLane()
{
    if (places_.load() > 0 && hasUnclaimed() && !isDriven_.load())
        requestLane();
}

void Batch::waitForPlace()
{
    while (!tryPlace()) {
        driverWaits_ = true;
        if (tryPlace()) {
            driverWaits_ = false;
            return;
        }
        placeLeft_.wait();
    }
}

// The last thing that is done with the batch for these operations: it may be gone afterwards.
void Batch::finished(Int operations)
{
    if (remaining_.fetch_sub(operations) != operations)
        return;
    // The block may have ended, and its hold on the batch with it, before `async` returns from this batch's queue.
    const std::shared_ptr<Batch> batch = shared_from_this();
    queue_.async([batch] { batch->conclude(); });
}

void Batch::conclude()
{
    if (state_->postProcessAllOperations)
        std::function<void()>(state_->postProcessAllOperations)();
    executeDidPostProcessAll();
    std::optional<DispatchSemaphore> ended;
    {
        const MutexLock lock(endMutex);
        ended.swap(state_->waitEndSemaphore);
    }
    self_.reset(); // the block that runs this holds the batch until it returns
    if (ended)
        ended->signal();
}

} // namespace

IndexedOperationsQueue::IndexedOperationsQueue(DispatchQoS qos)
    : state_(std::make_shared<State>()),
      qualityOfService(state_->qualityOfService),
      maxConcurrentOperationCount(state_->maxConcurrentOperationCount),
      waitEndSemaphore(state_->waitEndSemaphore),
      notifierQueue(state_->notifierQueue),
      shouldContinue(state_->shouldContinue),
      willPerformOperation(state_->willPerformOperation),
      performOperation(state_->performOperation),
      didPerformOperation(state_->didPerformOperation),
      postProcessAllOperations(state_->postProcessAllOperations),
      didPostProcessAllOperations(state_->didPostProcessAllOperations)
{
    qualityOfService = qos;
}

void IndexedOperationsQueue::performOperations(Int count)
{
    const auto batch = std::make_shared<Batch>(state_, count);
    {
        const MutexLock lock(endMutex);
        state_->waitEndSemaphore.emplace(0);
    }
    Batch::start(batch);
}

void IndexedOperationsQueue::waitUntilAllOperationsAreFinished()
{
    std::optional<DispatchSemaphore> end;
    {
        const MutexLock lock(endMutex);
        end = state_->waitEndSemaphore;
    }
    if (end)
        end->wait();
}

} // namespace corvane
