// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Base/Types.h>

#include <functional>
#include <map>
#include <string>

namespace corvane {

/// Tells when files are written, made or renamed in a folder, by whatever process. One thread serves all
/// folders; it sleeps in the kernel while nothing happens, and gathers what happens within 20 ms. Where the
/// system grants no watch it asks every 50 ms instead: whoever is told looks whether there is anything new.
/// Thread-safe.
class FolderWatcher {
public:
    static FolderWatcher& shared();

    /// Has `handler` called on the watcher's thread when something happens to a file whose name begins with
    /// `prefix`. The answer is for `remove`.
    Int add(const std::string& folder, std::string prefix, std::function<void()> handler);
    /// A call that has begun is not waited for.
    void remove(Int id);

private:
    struct Listener {
        int watch; // -1 when the system granted none
        std::string prefix;
        std::function<void()> handler;
    };

    FolderWatcher();
    void run();
    void gatherEvents(std::map<Int, std::function<void()>>& due);

    const int events_; // inotify, -1 where there is none
    const int bell_;   // rung when a listener without a watch comes
    Mutex mutex_;
    std::map<Int, Listener> listeners_ CORVANE_GUARDED_BY(mutex_);
    Int nextID_ CORVANE_GUARDED_BY(mutex_) = 1;
};

} // namespace corvane
