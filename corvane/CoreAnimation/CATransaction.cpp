// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreAnimation/CATransaction.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>

namespace corvane {

namespace {

void runInTransaction(TimeInterval duration, Block& block)
{
    struct Transaction { // ends when the block throws, too
        Transaction() { CATransaction::begin(); }
        ~Transaction() { CATransaction::commit(); }
    } const transaction;
    CATransaction::setAnimationDuration(duration);
    CATransaction::setDisableActions(duration == TimeInterval::zero());
    block();
}

} // namespace

void animate(TimeInterval in, TimeInterval during, Block block)
{
    if (in == TimeInterval::zero())
        runInTransaction(during, block);
    else
        DispatchQueue::main().asyncAfter(
            in, [during, block = std::move(block)]() mutable { runInTransaction(during, block); });
}

void animate(TimeInterval during, Block block)
{
    animate(TimeInterval::zero(), during, std::move(block));
}

} // namespace corvane
