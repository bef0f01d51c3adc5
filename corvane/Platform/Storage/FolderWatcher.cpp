// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/FolderWatcher.h>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <thread>
#include <utility>

namespace corvane {

FolderWatcher& FolderWatcher::shared()
{
    static auto* const watcher = [] {
        auto* const made = new FolderWatcher; // its thread runs to the end of the process
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before); // signals are the host's
        std::thread([made] {
            pthread_setname_np(pthread_self(), "corvane-watcher");
            made->run();
        }).detach();
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return made;
    }();
    return *watcher;
}

FolderWatcher::FolderWatcher()
    : events_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), bell_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{}

Int FolderWatcher::add(const std::string& folder, std::string prefix, std::function<void()> handler)
{
    constexpr std::uint32_t mask = IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
    const MutexLock lock(mutex_);
    // A folder that is watched already answers with the watch that it has.
    const int watch = events_ < 0 ? -1 : ::inotify_add_watch(events_, folder.c_str(), mask);
    listeners_.emplace(nextID_, Listener{watch, std::move(prefix), std::move(handler)});
    if (watch < 0)
        ::eventfd_write(bell_, 1);
    return nextID_++;
}

void FolderWatcher::remove(Int id)
{
    const MutexLock lock(mutex_);
    const auto gone = listeners_.find(id);
    if (gone == listeners_.end())
        return;
    const int watch = gone->second.watch;
    listeners_.erase(gone);
    if (watch >= 0 && std::ranges::none_of(listeners_, [watch](const auto& listener) {
            return listener.second.watch == watch;
        }))
        ::inotify_rm_watch(events_, watch);
}

void FolderWatcher::gatherEvents(std::map<Int, std::function<void()>>& due)
{
    alignas(inotify_event) std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t size = ::read(events_, buffer.data(), buffer.size());
        if (size <= 0)
            return;
        const MutexLock lock(mutex_);
        for (ssize_t at = 0; at < size;) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof event);
            const std::string_view name = event.len == 0 ? "" : buffer.data() + at + sizeof event;
            const bool lostSome = (event.mask & IN_Q_OVERFLOW) != 0;
            for (const auto& [id, listener] : listeners_)
                if (lostSome || (listener.watch == event.wd && name.starts_with(listener.prefix)))
                    due.emplace(id, listener.handler);
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
    }
}

void FolderWatcher::run()
{
    using namespace std::chrono_literals;
    for (;;) {
        std::map<Int, std::function<void()>> due;
        {
            const MutexLock lock(mutex_);
            for (const auto& [id, listener] : listeners_)
                if (listener.watch < 0)
                    due.emplace(id, listener.handler);
        }
        std::array<pollfd, 2> descriptors = {{{events_, POLLIN, 0}, {bell_, POLLIN, 0}}};
        const int ready = ::poll(descriptors.data(), descriptors.size(), due.empty() ? -1 : 30);
        // A busy writer, this process included, costs fifty looks a second and no more.
        std::this_thread::sleep_for(20ms);
        if (ready > 0) {
            eventfd_t rings = 0;
            ::eventfd_read(bell_, &rings);
            gatherEvents(due);
        }
        for (const auto& [id, handler] : due)
            handler();
    }
}

} // namespace corvane
