// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Dispatch/DispatchQueue.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace corvane::tests {

/// Turns a hang into a failure: unless it is destroyed in time it prints the state of every queue and ends the
/// process.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds patience = std::chrono::seconds(100))
        : thread_([this, patience] {
              std::unique_lock lock(mutex_);
              if (over_.wait_for(lock, patience, [this] { return isOver_; }))
                  return;
              std::fprintf(stderr, "A test hangs. The queues:\n%s", DispatchQueue::report().c_str());
              std::_Exit(86);
          })
    {}
    ~Watchdog()
    {
        {
            const std::scoped_lock lock(mutex_);
            isOver_ = true;
        }
        over_.notify_one();
        thread_.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    std::mutex mutex_;
    std::condition_variable over_;
    bool isOver_ = false;
    std::thread thread_;
};

/// How long a stress test goes on: CORVANE_STRESS_SECONDS, or a second.
inline std::chrono::milliseconds stressTime()
{
    const char* const text = std::getenv("CORVANE_STRESS_SECONDS");
    return std::chrono::milliseconds(text != nullptr ? static_cast<int>(std::atof(text) * 1000) : 1000);
}

} // namespace corvane::tests
