// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/Notification.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>

#include <atomic>
#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace corvane {

/// An observation, by identity: what `addObserver` gives and `removeObserver` takes.
class NotificationObserver;

namespace detail {

// A handler with the one function that calls it: what a post does for each observer.
struct NotificationHandler {
    using Call = void (*)(NotificationHandler&, const Notification&);

    Call call;
    std::function<void(Block)> executor;
    std::atomic<bool> isRemoved{false}; // a delivery on an operation queue may still have to see it

    explicit NotificationHandler(Call handlerCall) noexcept : call(handlerCall) {}
};

template <typename F>
struct NotificationHandlerOf final : NotificationHandler {
    explicit NotificationHandlerOf(F&& given)
        : NotificationHandler([](NotificationHandler& self, const Notification& note) {
              static_cast<void>(static_cast<NotificationHandlerOf&>(self).function(note));
          }),
          function(std::move(given))
    {}
    F function;
};

} // namespace detail

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
    template <std::invocable<const Notification&> F>
    std::shared_ptr<NotificationObserver> addObserver(NotificationName name, const void* sender, F handler)
    {
        return add(name, sender, made(std::move(handler)));
    }
    template <std::invocable<const Notification&> F>
    std::shared_ptr<NotificationObserver> addObserver(NotificationName name, F handler)
    {
        return add(name, nullptr, made(std::move(handler)));
    }
    /// The same, with `handler` called on `queue`; on the posting thread without one.
    template <std::invocable<const Notification&> F>
    std::shared_ptr<NotificationObserver> addObserver(NotificationName name, const void* sender,
                                                      std::optional<OperationQueue> queue, F handler)
    {
        auto made = NotificationCenter::made(std::move(handler));
        if (made && queue)
            made->executor = [queue = *std::move(queue)](Block block) {
                queue.addOperation(std::move(block));
            };
        return add(name, sender, std::move(made));
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
    struct Immortal;

    // Null for a handler that is empty.
    template <typename F>
    static std::shared_ptr<detail::NotificationHandler> made(F handler)
    {
        if constexpr (requires { bool(handler == nullptr); }) {
            if (handler == nullptr)
                return nullptr;
        }
        return std::make_shared<detail::NotificationHandlerOf<F>>(std::move(handler));
    }

    static bool isObserved(NotificationName name) noexcept
    {
        return name.interned_->observerCount.load(std::memory_order_relaxed) != 0;
    }
    std::shared_ptr<NotificationObserver> add(NotificationName name, const void* sender,
                                              std::shared_ptr<detail::NotificationHandler> handler);
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
