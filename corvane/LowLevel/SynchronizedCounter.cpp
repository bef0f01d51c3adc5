// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/LibraryQueue.h>
#include <corvane/LowLevel/SynchronizedCounter.h>
#include <corvane/Platform/Base/CheckedArithmetic.h>

#include <memory>

namespace corvane {

SynchronizedCounter::SynchronizedCounter(Int value)
    : queue_(detail::libraryQueue("SynchronizedCounter", DispatchQueue::Attributes::concurrent)),
      state_(new State{value})
{}

SynchronizedCounter::~SynchronizedCounter()
{
    if (queue_.trySyncBarrier([] {}))
        delete state_;
    else
        queue_.asyncBarrier([state = std::unique_ptr<State>(state_)] {});
}

void SynchronizedCounter::increment()
{
    queue_.asyncBarrier([state = state_] { state->value = checkedAdd(state->value, Int{1}); });
}

void SynchronizedCounter::decrement()
{
    queue_.asyncBarrier([state = state_] { state->value = checkedSubtract(state->value, Int{1}); });
}

void SynchronizedCounter::setValue(Int value)
{
    queue_.asyncBarrier([state = state_, value] { state->value = value; });
}

Int SynchronizedCounter::getValue() const
{
    return queue_.sync([this] { return state_->value; });
}

} // namespace corvane
