// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/Futex.h>
#include <corvane/Platform/Dispatch/WorkerPool.h>

namespace corvane {

using namespace detail;

DispatchSemaphore::DispatchSemaphore(Int count)
    : core_((precondition(count >= 0, "A semaphore cannot begin with a negative count"),
             new SemaphoreCore{count}))
{}

namespace {

bool takePermit(SemaphoreCore& core)
{
    std::uint32_t permits = core.permits.load(std::memory_order_relaxed);
    while (permits != 0) {
        if (core.permits.compare_exchange_weak(permits, permits - 1, std::memory_order_acquire,
                                               std::memory_order_relaxed))
            return true;
    }
    return false;
}

bool takePermitSpinning(SemaphoreCore& core)
{
    for (int spins = 0; spins < 100; ++spins) {
        if (takePermit(core))
            return true;
        pauseProcessor();
    }
    return false;
}

} // namespace

// The wait is counted already; a permit is what a signal hands to a counted waiter.
void DispatchSemaphore::waitSlow() const
{
    if (takePermitSpinning(*core_))
        return;
    const BlockedWorker blocked;
    while (!takePermit(*core_))
        futexWait(core_->permits, 0);
}

bool DispatchSemaphore::wait(TimeInterval timeout) const
{
    using Clock = std::chrono::steady_clock;
    Int held = core_->count.load(std::memory_order_relaxed);
    while (held > 0) {
        if (core_->count.compare_exchange_weak(held, held - 1, std::memory_order_acquire,
                                               std::memory_order_relaxed))
            return true;
    }
    if (!(timeout > TimeInterval::zero()))
        return false;
    constexpr TimeInterval longest{86400.0 * 365 * 100};
    const Clock::time_point end =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(timeout < longest ? timeout : longest);
    if (core_->count.fetch_sub(1, std::memory_order_acquire) > 0 || takePermitSpinning(*core_))
        return true;
    const BlockedWorker blocked;
    for (;;) {
        if (takePermit(*core_))
            return true;
        const std::chrono::nanoseconds left = end - Clock::now();
        if (left > std::chrono::nanoseconds::zero()) {
            futexWait(core_->permits, 0, &left);
            continue;
        }
        // Uncounts itself; when the count is no longer negative, a signal has counted this waiter as
        // released, and its permit is there or on its way.
        Int count = core_->count.load(std::memory_order_relaxed);
        while (count < 0) {
            if (core_->count.compare_exchange_weak(count, count + 1, std::memory_order_relaxed))
                return false;
        }
        while (!takePermit(*core_))
            futexWait(core_->permits, 0);
        return true;
    }
}

// A static handle may go at exit while blocks that still run use it: then the core stays, within reach, so that it
// does not count as lost.
void DispatchSemaphore::destroy() const noexcept
{
    static constinit std::atomic<SemaphoreCore*> kept{nullptr};
    if (!WorkerPool::isProcessExiting()) {
        delete core_;
        return;
    }
    core_->nextKept = kept.load(std::memory_order_relaxed);
    while (!kept.compare_exchange_weak(core_->nextKept, core_)) {
    }
}

void DispatchSemaphore::wakeOne() const
{
    // The waiter that takes the permit may destroy the handle this was called on before the wake-up is sent.
    const DispatchSemaphore self(*this);
    self.core_->permits.fetch_add(1, std::memory_order_release);
    futexWake(self.core_->permits, 1);
}

} // namespace corvane
