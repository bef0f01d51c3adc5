// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Dispatch/LoopCore.h>
#include <corvane/Platform/Dispatch/QueueCore.h>
#include <corvane/Platform/Dispatch/RunLoop.h>
#include <corvane/Platform/Dispatch/TimerThread.h>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <thread>

namespace corvane {

using detail::LoopCore;
using detail::TimerCore;

namespace {

// Set when the library is loaded, and again by each thread that serves the main loop.
std::atomic<pid_t> mainThread{gettid()};

std::chrono::nanoseconds nanosecondsOf(TimeInterval interval)
{
    constexpr TimeInterval longest{86400.0 * 365 * 100};
    if (!(interval > TimeInterval::zero()))
        return {};
    return std::chrono::duration_cast<std::chrono::nanoseconds>(interval < longest ? interval : longest);
}

} // namespace

RunLoop::RunLoop(bool isMain) : core_(std::make_shared<LoopCore>(isMain)) {}

RunLoop::~RunLoop() = default;

RunLoop& RunLoop::main()
{
    static RunLoop* const loop = new RunLoop(true);
    return *loop;
}

RunLoop& RunLoop::current()
{
    if (mainThread.load(std::memory_order_relaxed) == gettid())
        return main();
    static thread_local std::unique_ptr<RunLoop> own;
    if (own == nullptr)
        own.reset(new RunLoop(false));
    return *own;
}

void RunLoop::run()
{
    if (core_->isMain())
        mainThread = gettid();
    core_->runUntil(detail::LoopClock::time_point::max());
}

bool RunLoop::runFor(TimeInterval time)
{
    if (core_->isMain())
        mainThread = gettid();
    return core_->runUntil(detail::LoopClock::now() + nanosecondsOf(time));
}

void RunLoop::stop()
{
    core_->stop();
}

int RunLoop::fileDescriptor() const noexcept
{
    return core_->descriptor();
}

bool RunLoop::drain()
{
    if (core_->isMain())
        mainThread = gettid();
    core_->silence();
    return core_->serve();
}

// ---- timers

std::shared_ptr<TimerCore> Timer::make(TimeInterval interval, bool repeating)
{
    auto core = std::make_shared<TimerCore>();
    core->interval = nanosecondsOf(interval);
    core->repeats = repeating;
    if (repeating)
        core->interval = std::max(core->interval, std::chrono::nanoseconds(100'000));
    return core;
}

void Timer::setBlock(const std::shared_ptr<TimerCore>& core, Block block)
{
    precondition(static_cast<bool>(block), "An empty block was given to a timer");
    core->block = std::move(block);
}

Timer Timer::add(RunLoop* loop, const std::shared_ptr<TimerCore>& core)
{
    core->due = detail::LoopClock::now() + core->interval;
    (loop != nullptr ? *loop : RunLoop::current()).core_->add(core);
    return Timer(core);
}

void Timer::invalidate()
{
    if (const std::shared_ptr<LoopCore> loop = core_->loop.lock())
        loop->invalidate(*core_);
}

bool Timer::isValid() const
{
    return core_->isValid;
}

namespace detail {

LoopCore& mainLoopCore()
{
    return *RunLoop::main().core_;
}

void wakeMainRunLoop() noexcept
{
    static LoopCore& core = mainLoopCore();
    core.ring();
}

RunLoop& timerThread()
{
    static RunLoop* const loop = [] {
        auto* const made = new RunLoop(false);
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before); // signals are the host's
        std::thread([made] {
            pthread_setname_np(pthread_self(), "corvane-timers");
            made->run();
        }).detach();
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return made;
    }();
    return *loop;
}

} // namespace detail
} // namespace corvane
