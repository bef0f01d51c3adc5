// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/QueueCore.h>
#include <corvane/Platform/Dispatch/RunLoop.h>
#include <corvane/Platform/Dispatch/TimerThread.h>

namespace corvane {

using detail::QueueCore;

DispatchQueue::DispatchQueue(std::string label, DispatchQoS qos, Attributes attributes)
    : gate_(new QueueCore(attributes == Attributes::concurrent ? QueueCore::Kind::concurrent
                                                               : QueueCore::Kind::serial,
                          std::move(label), qos))
{}

DispatchQueue DispatchQueue::main()
{
    QueueCore& queue = QueueCore::mainQueue();
    queue.retain();
    return DispatchQueue(&queue);
}

const std::string& DispatchQueue::label() const noexcept
{
    return QueueCore::of(*gate_).label();
}

DispatchQoS DispatchQueue::qos() const noexcept
{
    return QueueCore::of(*gate_).qos();
}

void DispatchQueue::async(Block block) const
{
    QueueCore::of(*gate_).async(std::move(block), false);
}

void DispatchQueue::asyncBarrier(Block block) const
{
    QueueCore::of(*gate_).async(std::move(block), true);
}

void DispatchQueue::asyncAfter(TimeInterval delay, Block block) const
{
    if (!(delay > TimeInterval::zero())) {
        async(std::move(block));
        return;
    }
    Timer::schedule(detail::timerThread(), delay,
                    [queue = *this, block = std::move(block)]() mutable { queue.async(std::move(block)); });
}

std::string DispatchQueue::report()
{
    return QueueCore::reportAll() + detail::WorkerPool::report();
}

} // namespace corvane
