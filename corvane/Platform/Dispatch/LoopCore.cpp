// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Dispatch/LoopCore.h>
#include <corvane/Platform/Dispatch/QueueCore.h>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <limits>
#include <utility>

namespace corvane::detail {

namespace {

constexpr LoopClock::rep never = std::numeric_limits<LoopClock::rep>::max();
constexpr std::chrono::milliseconds madeUp{250};

// Alarms fall on whole milliseconds, so that timers close together share one.
LoopClock::rep alarmFor(LoopClock::time_point due)
{
    const auto time = due.time_since_epoch();
    return std::chrono::duration_cast<LoopClock::duration>(std::chrono::ceil<std::chrono::milliseconds>(time))
        .count();
}

timespec timespecOf(std::chrono::nanoseconds time)
{
    return {static_cast<time_t>(time.count() / 1'000'000'000),
            static_cast<long>(time.count() % 1'000'000'000)};
}

} // namespace

LoopCore::LoopCore(bool isMain)
    : isMain_(isMain),
      poll_(epoll_create1(EPOLL_CLOEXEC)),
      bell_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      alarm_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      nextAlarm_(never)
{
    for (const int source : {bell_, alarm_}) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = source;
        if (poll_ < 0 || source < 0 || epoll_ctl(poll_, EPOLL_CTL_ADD, source, &event) != 0)
            fatalError("A run loop could not open its file descriptors");
    }
}

LoopCore::~LoopCore()
{
    for (const std::shared_ptr<TimerCore>& timer : heap_)
        timer->isValid = false;
    for (const int descriptor : {alarm_, bell_, poll_})
        close(descriptor);
}

// ---- the heap

bool LoopCore::isBefore(std::ptrdiff_t a, std::ptrdiff_t b) const
{
    const TimerCore& left = *heap_[static_cast<std::size_t>(a)];
    const TimerCore& right = *heap_[static_cast<std::size_t>(b)];
    return left.due != right.due ? left.due < right.due : left.number < right.number;
}

void LoopCore::sift(std::ptrdiff_t place)
{
    const auto at = [this](std::ptrdiff_t index) CORVANE_NO_THREAD_SAFETY_ANALYSIS -> auto&
    {
        return heap_[static_cast<std::size_t>(index)];
    };
    const auto exchange = [&](std::ptrdiff_t a, std::ptrdiff_t b) {
        std::swap(at(a), at(b));
        at(a)->place = a;
        at(b)->place = b;
    };
    at(place)->place = place;
    const auto size = static_cast<std::ptrdiff_t>(heap_.size());
    for (std::ptrdiff_t above = (place - 1) / 2; place > 0 && isBefore(place, above);
         above = (place - 1) / 2) {
        exchange(place, above);
        place = above;
    }
    for (;;) {
        std::ptrdiff_t least = place;
        for (const std::ptrdiff_t below : {2 * place + 1, 2 * place + 2}) {
            if (below < size && isBefore(below, least))
                least = below;
        }
        if (least == place)
            return;
        exchange(place, least);
        place = least;
    }
}

void LoopCore::insert(const std::shared_ptr<TimerCore>& timer)
{
    heap_.push_back(timer);
    sift(static_cast<std::ptrdiff_t>(heap_.size()) - 1);
    if (timer->place == 0 && alarmFor(timer->due) < nextAlarm_.load(std::memory_order_relaxed))
        rearm();
}

void LoopCore::remove(std::ptrdiff_t place)
{
    heap_[static_cast<std::size_t>(place)]->place = -1;
    std::swap(heap_[static_cast<std::size_t>(place)], heap_.back());
    heap_.pop_back();
    if (place < static_cast<std::ptrdiff_t>(heap_.size()))
        sift(place);
}

void LoopCore::rearm()
{
    itimerspec setting{};
    const LoopClock::rep next = heap_.empty() ? never : alarmFor(heap_.front()->due);
    if (next != never)
        setting.it_value = timespecOf(std::chrono::nanoseconds(next));
    nextAlarm_.store(next, std::memory_order_relaxed);
    timerfd_settime(alarm_, TFD_TIMER_ABSTIME, &setting, nullptr);
}

// ---- timers

void LoopCore::add(const std::shared_ptr<TimerCore>& timer)
{
    timer->loop = weak_from_this();
    const MutexLock lock(mutex_);
    timer->number = count_++;
    insert(timer);
}

void LoopCore::invalidate(TimerCore& timer)
{
    std::shared_ptr<TimerCore> removed; // its block is destroyed outside the lock
    {
        const MutexLock lock(mutex_);
        timer.isValid = false;
        if (timer.place >= 0) {
            removed = heap_[static_cast<std::size_t>(timer.place)];
            remove(timer.place);
        }
    }
    if (removed != nullptr)
        removed->block.reset();
}

bool LoopCore::fireTimers()
{
    const LoopClock::time_point now = LoopClock::now();
    if (now.time_since_epoch().count() < nextAlarm_.load(std::memory_order_relaxed))
        return false;
    bool fired = false;
    MutexLock lock(mutex_);
    while (!heap_.empty() && heap_.front()->due <= now) {
        const std::shared_ptr<TimerCore> timer = heap_.front();
        remove(0);
        timer->isFiring = true;
        if (!timer->repeats)
            timer->isValid = false;
        lock.unlock();
        fired = true;
        static const std::string where = "a timer";
        runBlock(timer->block, where);
        lock.lock();
        timer->isFiring = false;
        if (timer->isValid) {
            timer->due += timer->interval;
            if (const auto late = now - timer->due; late >= madeUp)
                timer->due += (late / timer->interval + 1) * timer->interval;
            insert(timer);
        } else {
            lock.unlock();
            timer->block.reset();
            lock.lock();
        }
    }
    rearm();
    return fired;
}

// ---- the loop

void LoopCore::ring() noexcept
{
    if (isAwake_.load(std::memory_order_seq_cst))
        return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(bell_, &one, sizeof one);
}

void LoopCore::silence() noexcept
{
    std::uint64_t rings = 0;
    [[maybe_unused]] const auto size = read(bell_, &rings, sizeof rings);
}

void LoopCore::stop() noexcept
{
    isStopped_.store(true, std::memory_order_seq_cst);
    ring();
}

bool LoopCore::serve()
{
    const bool ranBlocks = isMain_ && QueueCore::mainQueue().drainOnMainThread();
    const bool fired = fireTimers();
    return ranBlocks || fired;
}

bool LoopCore::hasWork() const noexcept
{
    return isStopped_.load(std::memory_order_seq_cst) || (isMain_ && QueueCore::mainQueue().isScheduled());
}

void LoopCore::sleepUntil(LoopClock::time_point end)
{
    // An application's main queue is often fed again at once: a short look costs less than a sleep.
    if (isMain_ && patience_.lookFor([this] { return hasWork(); }))
        return;
    isAwake_.store(false, std::memory_order_seq_cst);
    if (!hasWork()) {
        pollfd watched{poll_, POLLIN, 0};
        const auto left = end - LoopClock::now();
        const timespec limit = timespecOf(left);
        if (left > LoopClock::duration::zero())
            ppoll(&watched, 1, end == LoopClock::time_point::max() ? nullptr : &limit, nullptr);
        silence();
    }
    isAwake_.store(true, std::memory_order_seq_cst);
}

bool LoopCore::runUntil(LoopClock::time_point end)
{
    const bool wasAwake = isAwake_.exchange(true, std::memory_order_seq_cst);
    bool stopped = false;
    while (!(stopped = isStopped_.exchange(false, std::memory_order_seq_cst))) {
        if (serve())
            continue;
        if (end != LoopClock::time_point::max() && LoopClock::now() >= end)
            break;
        sleepUntil(end);
    }
    isAwake_.store(wasAwake, std::memory_order_seq_cst);
    if (hasWork())
        ring(); // for the host's own loop, or the outer run, to see
    return stopped;
}

} // namespace corvane::detail
