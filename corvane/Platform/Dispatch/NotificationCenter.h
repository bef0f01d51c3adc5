// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/Notification.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>

#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace corvane {

/// An observation, by identity: what `addObserver` gives and `removeObserver` takes.
class NotificationObserver;

/// Where notifications are posted and observed, by name and sender.
///
///     auto& center = NotificationCenter::defaultCenter();
///     auto token = center.addObserver(Gallery::didChange, gallery, [](const Notification& note) {
///         redraw(*note.object<Gallery>());
///     });
///     center.post(Gallery::didChange, gallery);
///     center.removeObserver(token);
///
/// A post calls the observers one after the other, in the order they were added, on the posting thread; it
/// returns after the last, and an exception of one leaves through it and skips the rest. Observers may be
/// added and removed while a post is under way: one that was removed is not called afterwards, not even by
/// the running post, and one that was added is not called by the running post. Removing does not wait for a
/// call that another thread has already begun. An observer with an operation queue is called there, later:
/// the post adds an operation and goes on, and what the sender points to must then be kept alive by other
/// means.
///
/// The centre keeps an observer, and what its handler captured, until it is removed or the centre goes; the
/// token is held weakly by whoever need not keep it. A post of a name that nobody observes costs one load.
/// Thread-safe.
class CORVANE_API NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    constexpr NotificationCenter() noexcept = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;
    /// Removes all observers. Nobody may be posting here any more.
    ~NotificationCenter();

    /// The process-wide centre. It is never destroyed.
    static NotificationCenter& defaultCenter() noexcept;

    /// Calls `handler` for each post of `name` by `sender`, by anyone when it is null. The sender is compared
    /// by address and need not stay alive; an object that is made at the same address later is the same to
    /// the centre.
    std::shared_ptr<NotificationObserver> addObserver(NotificationName name, const void* sender,
                                                      Handler handler)
    {
        return addObserver(name, sender, Executor(), std::move(handler));
    }
    std::shared_ptr<NotificationObserver> addObserver(NotificationName name, Handler handler)
    {
        return addObserver(name, nullptr, std::move(handler));
    }
    /// The same, with `handler` called on `queue`; on the posting thread without one.
    std::shared_ptr<NotificationObserver> addObserver(NotificationName name, const void* sender,
                                                      std::optional<OperationQueue> queue, Handler handler)
    {
        Executor executor;
        if (queue)
            executor = [queue = *std::move(queue)](Block block) { queue.addOperation(std::move(block)); };
        return addObserver(name, sender, std::move(executor), std::move(handler));
    }

    /// Does nothing for null, for an observer that was removed before and for one of another centre. What the
    /// handler captured is destroyed at once, or by the end of the last post that might be calling it.
    void removeObserver(const std::shared_ptr<NotificationObserver>& observer);

    void post(NotificationName name, NotificationSender sender = {}) const
    {
        if (isObserved(name)) [[unlikely]]
            deliver(Notification(name, sender));
    }
    void post(NotificationName name, NotificationSender sender, UserInfo info) const
    {
        if (isObserved(name)) [[unlikely]]
            deliver(Notification(name, sender, std::make_shared<const UserInfo>(std::move(info))));
    }
    /// Calls `makeInfo` for the user information only when the name is observed.
    template <std::invocable F>
    requires std::convertible_to<std::invoke_result_t<F>, UserInfo>
    void post(NotificationName name, NotificationSender sender, F&& makeInfo) const
    {
        if (isObserved(name)) [[unlikely]]
            deliver(
                Notification(name, sender, std::make_shared<const UserInfo>(std::forward<F>(makeInfo)())));
    }

private:
    friend struct NotificationRecord;
    using Executor = std::function<void(Block)>;
    struct Immortal;

    static bool isObserved(NotificationName name) noexcept
    {
        return name.interned_->observerCount.load(std::memory_order_relaxed) != 0;
    }
    std::shared_ptr<NotificationObserver> addObserver(NotificationName name, const void* sender,
                                                      Executor executor, Handler handler);
    NotificationRecord* record(NotificationName name) const noexcept;
    void deliver(const Notification& note) const;

    NotificationRecord* records_ = nullptr; // one for each name that was ever observed here

    static Immortal default_;
};

struct NotificationCenter::Immortal {
    union {
        NotificationCenter center;
    };
    constexpr Immortal() noexcept : center() {}
    ~Immortal() {} // the centre is not destroyed
};

inline NotificationCenter& NotificationCenter::defaultCenter() noexcept
{
    return default_.center;
}

} // namespace corvane
