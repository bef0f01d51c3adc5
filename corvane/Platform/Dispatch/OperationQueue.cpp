// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>
#include <corvane/Platform/Dispatch/WorkerPool.h>

#include <condition_variable>
#include <deque>
#include <limits>

namespace corvane {

// Operations wait here and not in the dispatch queue, so that they can be dropped. A runner is a block of the
// dispatch queue that takes one operation after another; there are never more runners than operations may run
// at once.
struct OperationQueue::Core : std::enable_shared_from_this<Core> {
    Core(const DispatchQueue& target, bool ownedByMain) : isMain(ownedByMain), queue(target) {}

    const bool isMain;
    Mutex mutex;
    std::condition_variable_any finished;
    DispatchQueue queue CORVANE_GUARDED_BY(mutex);
    std::deque<Block> waiting CORVANE_GUARDED_BY(mutex);
    Int limit CORVANE_GUARDED_BY(mutex) = defaultMaxConcurrentOperationCount;
    Int runners CORVANE_GUARDED_BY(mutex) = 0;
    Int running CORVANE_GUARDED_BY(mutex) = 0;

    bool mayRunMore() const CORVANE_REQUIRES(mutex) { return limit < 0 || runners < limit; }

    void startRunners() CORVANE_REQUIRES(mutex)
    {
        while (mayRunMore() && runners - running < static_cast<Int>(waiting.size())) {
            ++runners;
            queue.async([self = shared_from_this()] { self->runOne(); });
        }
    }

    // Each operation goes through the dispatch queue anew: on the main queue the host's events get their turn
    // between two, and a change of the quality of service or the limit takes hold at once.
    void runOne()
    {
        Block operation;
        {
            const MutexLock lock(mutex);
            if (waiting.empty() || (limit >= 0 && runners > limit)) {
                --runners;
                return;
            }
            operation = std::move(waiting.front());
            waiting.pop_front();
            ++running;
        }
        operation();
        operation.reset();
        const MutexLock lock(mutex);
        --running;
        --runners;
        startRunners();
        if (running == 0 && waiting.empty())
            finished.notify_all();
    }
};

namespace {

DispatchQueue makeTarget(DispatchQoS qualityOfService)
{
    return DispatchQueue("OperationQueue", qualityOfService, DispatchQueue::Attributes::concurrent);
}

} // namespace

OperationQueue::OperationQueue(DispatchQoS qualityOfService)
    : core_(std::make_shared<Core>(makeTarget(qualityOfService), false))
{}

OperationQueue::OperationQueue(std::shared_ptr<Core> core) noexcept : core_(std::move(core)) {}

OperationQueue OperationQueue::main()
{
    static const std::shared_ptr<Core>* const shared = [] {
        auto* const core = new std::shared_ptr<Core>(std::make_shared<Core>(DispatchQueue::main(), true));
        const MutexLock lock((*core)->mutex);
        (*core)->limit = 1;
        return core;
    }();
    return OperationQueue(*shared);
}

void OperationQueue::addOperation(Block operation) const
{
    precondition(static_cast<bool>(operation), "An empty block was given to an operation queue");
    const MutexLock lock(core_->mutex);
    core_->waiting.push_back(std::move(operation));
    core_->startRunners();
}

void OperationQueue::replaceOperations(Block operation) const
{
    precondition(static_cast<bool>(operation), "An empty block was given to an operation queue");
    std::deque<Block> dropped; // destroyed outside the lock: what a block holds may call back
    const MutexLock lock(core_->mutex);
    dropped.swap(core_->waiting);
    core_->waiting.push_back(std::move(operation));
    core_->startRunners();
}

void OperationQueue::cancelAllOperations() const
{
    std::deque<Block> dropped;
    const MutexLock lock(core_->mutex);
    dropped.swap(core_->waiting);
    if (core_->running == 0)
        core_->finished.notify_all();
}

void OperationQueue::waitUntilAllOperationsAreFinished() const
{
    const detail::BlockedWorker blocked;
    const std::shared_ptr<Core> core = core_;
    MutexLock lock(core->mutex);
    while (core->running != 0 || !core->waiting.empty())
        core->finished.wait(lock);
}

Int OperationQueue::operationCount() const
{
    const MutexLock lock(core_->mutex);
    return core_->running + static_cast<Int>(core_->waiting.size());
}

Int OperationQueue::maxConcurrentOperationCount() const
{
    const MutexLock lock(core_->mutex);
    return core_->limit;
}

void OperationQueue::setMaxConcurrentOperationCount(Int count) const
{
    precondition(count >= defaultMaxConcurrentOperationCount,
                 "The number of concurrent operations cannot be negative");
    if (core_->isMain)
        return;
    const MutexLock lock(core_->mutex);
    core_->limit = count;
    core_->startRunners();
}

DispatchQoS OperationQueue::qualityOfService() const
{
    const MutexLock lock(core_->mutex);
    return core_->queue.qos();
}

void OperationQueue::setQualityOfService(DispatchQoS qualityOfService) const
{
    if (core_->isMain)
        return;
    const MutexLock lock(core_->mutex);
    if (qualityOfService != core_->queue.qos())
        core_->queue = makeTarget(qualityOfService);
}

} // namespace corvane
