// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

// Waiting and waking on a word, and the short spin that comes before. Internal to the dispatch layer.
namespace corvane::detail {

using FutexWord = std::atomic<std::uint32_t>;
static_assert(sizeof(FutexWord) == 4);

inline void pauseProcessor() noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

/// Sleeps while `word` holds `expected`, at most `timeout` when one is given; may wake for no reason.
inline void futexWait(FutexWord& word, std::uint32_t expected,
                      const std::chrono::nanoseconds* timeout = nullptr) noexcept
{
    timespec limit{};
    if (timeout != nullptr) {
        limit.tv_sec = static_cast<time_t>(timeout->count() / 1'000'000'000);
        limit.tv_nsec = static_cast<long>(timeout->count() % 1'000'000'000);
    }
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, timeout != nullptr ? &limit : nullptr, nullptr,
            0);
}

inline void futexWake(FutexWord& word, int count) noexcept
{
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

/// How long one side of a hand-over looks for the other before it gives its processor away: for long while that
/// pays, because the other is running, and shortly once it was in vain, because the other probably waits for this
/// very processor.
class Patience {
public:
    explicit Patience(int mostLooks) noexcept : most_(mostLooks), looks_(mostLooks) {}

    template <typename Condition>
    bool lookFor(Condition isThere) noexcept
    {
        const int looks = looks_.load(std::memory_order_relaxed);
        for (int look = 0; look < looks; ++look) {
            if (isThere()) {
                looks_.store(std::min(looks * 2, most_), std::memory_order_relaxed);
                return true;
            }
            pauseProcessor();
        }
        looks_.store(std::max(looks / 2, most_ / 32), std::memory_order_relaxed);
        return false;
    }

private:
    const int most_; // 32 at least
    std::atomic<int> looks_;
};

/// For critical sections of a few instructions. Gives the processor away when the holder seems to have lost
/// it.
class SpinLock {
public:
    void lock() noexcept
    {
        while (held_.exchange(true, std::memory_order_acquire)) {
            for (int spins = 0; held_.load(std::memory_order_relaxed); ++spins) {
                if (spins < 100)
                    pauseProcessor();
                else
                    sched_yield();
            }
        }
    }
    void unlock() noexcept { held_.store(false, std::memory_order_release); }

private:
    std::atomic<bool> held_{false};
};

} // namespace corvane::detail
