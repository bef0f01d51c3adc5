// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/IndexedOperationsQueue.h>
#include <corvane/LowLevel/LibraryQueue.h>
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Dispatch/WorkerPool.h>

#include <atomic>
#include <chrono>
#include <utility>

namespace corvane {

namespace {

using State = detail::IndexedOperationsState;

// The end semaphore is changed by the batch while others wait on it; everything else is its owner's to order.
Mutex endMutex;

DispatchQueue buildOperationsQueue(DispatchQoS qualityOfService)
{
    return detail::libraryQueue("IndexedOperationsQueue", DispatchQueue::Attributes::concurrent,
                                qualityOfService);
}

// One batch. Operations run in lanes: a lane is a block of the batch queue that takes a free place and then claims
// one index after another, so that an operation costs a claim and not a block, a semaphore and a thread's attention.
// There are as many lanes as the pool has threads for: each asks for the next one before it starts to work, so an
// operation that blocks brings in another thread with another lane, up to the number of places.
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
    void begin();
    void drive();
    void lane();
    void requestLane();
    bool perform(Int index);
    void conclude();

    bool executeShouldContinue();
    std::any executeWillPerform(Int index);
    std::any executePerform(Int index, const std::any& input);
    void executeDidPerform(Int index, const std::any& output);
    void executeDidPostProcessAll();

    bool hasUnclaimed() const noexcept { return next_.load(std::memory_order_relaxed) < count_; }
    bool tryPlace() noexcept;
    void leavePlace();
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
    std::atomic<bool> driverWaits_{false};
    const DispatchSemaphore placeLeft_{0};
    alignas(64) std::atomic<Int> next_{0};
    alignas(64) std::atomic<Int> remaining_{count_};
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
        queue_.async([this, index] {
            if (perform(index)) {
                leavePlace();
                finished(1);
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
    if (!isLaneRequested_.exchange(true))
        queue_.async([batch = shared_from_this()] { batch->lane(); });
}

void Batch::lane()
{
    using Clock = std::chrono::steady_clock;
    isLaneRequested_.exchange(false);
    detail::WorkerPool& pool = *detail::WorkerPool::current()->pool;
    Int done = 0;
    Int untilCheck = 1;
    Int checkEvery = 1;
    Clock::time_point checked{};
    bool hasPlace = tryPlace();
    if (hasPlace && hasUnclaimed() && places_.load(std::memory_order_relaxed) > 0)
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
        if (--untilCheck == 0) {
            // Short operations are not worth a look at the clock each.
            const Clock::time_point now = pool.hasReady() ? Clock::now() : checked;
            checkEvery =
                now - checked < std::chrono::microseconds(50) ? std::min<Int>(checkEvery * 2, 64) : 1;
            checked = now;
            untilCheck = checkEvery;
            mustLeave = mustLeave || pool.isSliceOver();
        }
        if (mustLeave)
            break;
    }
    if (hasPlace)
        leavePlace();
    if (done != 0)
        finished(done);
}

// True when the operation has ended; false when the main thread will report and end it.
bool Batch::perform(Int index)
{
    const std::any input = executeWillPerform(index);
    std::any output = executePerform(index, input);
    if (!state_->didPerformOperation)
        return true;
    static const DispatchQueue mainQueue = DispatchQueue::main();
    if (state_->notifierQueue != mainQueue) {
        state_->notifierQueue.sync([&] { executeDidPerform(index, output); });
        return true;
    }
    // The main thread is a hop away: instead of waiting for it this thread goes on with another operation. The place
    // stays taken until the report has returned.
    mainQueue.async([this, index, result = std::move(output)] {
        executeDidPerform(index, result);
        leavePlace();
        finished(1);
    });
    return false;
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

// A place left is a place for the next operation: somebody must come and take it.
void Batch::leavePlace()
{
    places_.fetch_add(1);
    if (driverWaits_.load() && driverWaits_.exchange(false))
        placeLeft_.signal();
    if (hasUnclaimed() && !isDriven_.load())
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
