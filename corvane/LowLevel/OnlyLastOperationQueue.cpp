// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/OnlyLastOperationQueue.h>

namespace corvane {

OnlyLastOperationQueue::OnlyLastOperationQueue(DispatchQoS qos)
    : notifier_(std::make_shared<Notifier>()), operationQueue_(qos)
{
    operationQueue_.setMaxConcurrentOperationCount(1);
}

DispatchQueue OnlyLastOperationQueue::notifierQueue() const
{
    return notifier_->current();
}

void OnlyLastOperationQueue::setNotifierQueue(const DispatchQueue& queue)
{
    notifier_->set(queue);
}

void OnlyLastOperationQueue::cancelAllOperations()
{
    operationQueue_.cancelAllOperations();
}

void OnlyLastOperationQueue::waitUntilAllOperationsAreFinished()
{
    operationQueue_.waitUntilAllOperationsAreFinished();
}

DispatchQueue OnlyLastOperationQueue::Notifier::current() const
{
    const std::lock_guard lock(mutex_);
    return queue_;
}

void OnlyLastOperationQueue::Notifier::set(DispatchQueue queue)
{
    const std::lock_guard lock(mutex_);
    std::swap(queue_, queue);
}

} // namespace corvane
