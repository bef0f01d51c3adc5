// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

// Thread-safety annotations of clang; nothing elsewhere. `./dev check` compiles with them as errors.
#if defined(__clang__)
#define CORVANE_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define CORVANE_THREAD_ANNOTATION(x)
#endif
#define CORVANE_CAPABILITY(name) CORVANE_THREAD_ANNOTATION(capability(name))
#define CORVANE_SCOPED_CAPABILITY CORVANE_THREAD_ANNOTATION(scoped_lockable)
#define CORVANE_GUARDED_BY(mutex) CORVANE_THREAD_ANNOTATION(guarded_by(mutex))
#define CORVANE_REQUIRES(...) CORVANE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define CORVANE_EXCLUDES(...) CORVANE_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define CORVANE_ACQUIRE(...) CORVANE_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define CORVANE_RELEASE(...) CORVANE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define CORVANE_NO_THREAD_SAFETY_ANALYSIS CORVANE_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace corvane {

/// A `std::mutex` that the analysis can follow. Works with `std::condition_variable_any`. Thread-safe.
class CORVANE_CAPABILITY("mutex") Mutex {
public:
    void lock() CORVANE_ACQUIRE() { mutex_.lock(); }
    void unlock() CORVANE_RELEASE() { mutex_.unlock(); }

private:
    std::mutex mutex_;
};

/// Holds a mutex for a scope; `unlock()` and `lock()` leave and enter it again inside the scope.
class CORVANE_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) CORVANE_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() CORVANE_RELEASE()
    {
        if (held_)
            mutex_.unlock();
    }
    void unlock() CORVANE_RELEASE()
    {
        mutex_.unlock();
        held_ = false;
    }
    void lock() CORVANE_ACQUIRE()
    {
        mutex_.lock();
        held_ = true;
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex_;
    bool held_ = true;
};

} // namespace corvane
