// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/Futex.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

// What stands behind RunLoop and Timer. Internal to the dispatch layer.
namespace corvane::detail {

class LoopCore;
using LoopClock = std::chrono::steady_clock;

struct TimerCore {
    Block block; // of the loop's thread while `isFiring`, of whoever invalidates otherwise
    std::chrono::nanoseconds interval{};
    bool repeats = false;
    std::atomic<bool> isValid{true};
    std::weak_ptr<LoopCore> loop;

    // Guarded by the loop's mutex.
    LoopClock::time_point due{};
    std::uint64_t number = 0;  // of two that fall together the older fires first
    std::ptrdiff_t place = -1; // in the heap
    bool isFiring = false;
};

/// A thread's timers in one heap with one timer descriptor, and the doorbell that ends a sleep. The
/// descriptor that a host watches is an epoll set of the two.
class LoopCore : public std::enable_shared_from_this<LoopCore> {
public:
    explicit LoopCore(bool isMain);
    ~LoopCore();

    bool isMain() const noexcept { return isMain_; }
    int descriptor() const noexcept { return poll_; }

    void add(const std::shared_ptr<TimerCore>& timer);
    void invalidate(TimerCore& timer);

    /// Ends the sleep of the loop's thread, or makes the descriptor readable for the host that watches it.
    void ring() noexcept;
    void silence() noexcept;
    void stop() noexcept;
    bool runUntil(LoopClock::time_point end);
    /// Main queue and timers; whether there was anything.
    bool serve();

private:
    bool fireTimers();
    void rearm() CORVANE_REQUIRES(mutex_);
    void insert(const std::shared_ptr<TimerCore>& timer) CORVANE_REQUIRES(mutex_);
    void remove(std::ptrdiff_t place) CORVANE_REQUIRES(mutex_);
    void sift(std::ptrdiff_t place) CORVANE_REQUIRES(mutex_);
    bool isBefore(std::ptrdiff_t a, std::ptrdiff_t b) const CORVANE_REQUIRES(mutex_);
    bool hasWork() const noexcept;
    void sleepUntil(LoopClock::time_point end);

    const bool isMain_;
    int poll_ = -1;
    int bell_ = -1;
    int alarm_ = -1;
    std::atomic<bool> isAwake_{false}; // inside runUntil and sure to look again: no need to ring
    std::atomic<bool> isStopped_{false};
    Patience patience_{200};
    std::atomic<LoopClock::rep> nextAlarm_; // what the timer descriptor is set to

    Mutex mutex_;
    std::vector<std::shared_ptr<TimerCore>> heap_ CORVANE_GUARDED_BY(mutex_);
    std::uint64_t count_ CORVANE_GUARDED_BY(mutex_) = 0;
};

} // namespace corvane::detail
