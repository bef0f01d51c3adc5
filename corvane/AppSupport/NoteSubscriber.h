// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>

#include <concepts>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace corvane {

/// One subscription of one object to one notification.
///
///     NoteSubscriber changes; // a member, say
///     changes.name = Gallery::didChange;
///     changes.object = gallery;
///     changes.subscribe(view, [](View& view, const Notification&) { view.redraw(); });
///
/// The target, `view` here, is never kept alive by it: while the handler runs it is there, and once it has
/// gone the handler is not called any more. Set the fields before subscribing; a later change takes effect
/// with the next subscription. The handler may unsubscribe, subscribe anew and destroy the subscriber.
///
/// Destroying it unsubscribes. Thread-compatible; a call that another thread has begun is not waited for.
class CORVANE_API NoteSubscriber {
public:
    /// The centre must outlive the subscription.
    explicit NoteSubscriber(NotificationCenter& center = NotificationCenter::defaultCenter()) noexcept
        : center_(center)
    {}
    ~NoteSubscriber() { unsubscribe(); }
    NoteSubscriber(const NoteSubscriber&) = delete;
    NoteSubscriber& operator=(const NoteSubscriber&) = delete;

    /// What to observe.
    std::optional<NotificationName> name;
    /// Where the handler runs; without one, on the posting thread.
    std::optional<OperationQueue> queue;
    /// Whose notifications to observe; anybody's when it is empty or has gone.
    std::weak_ptr<const void> object;

    /// Has `handler` called with `target` and the notification each time. Stops the process when already
    /// subscribed and, after that, when `name` is not set.
    template <typename T, std::invocable<T&, const Notification&> Handler>
    void subscribe(const std::shared_ptr<T>& target, Handler handler)
    {
        observe([target = std::weak_ptr<T>(target),
                 handler = std::move(handler)](const Notification& note) mutable {
            if (const std::shared_ptr<T> alive = target.lock())
                std::invoke(handler, *alive, note);
        });
    }

    /// Does nothing when not subscribed.
    void unsubscribe();

private:
    void observe(NotificationCenter::Handler handler);

    NotificationCenter& center_;
    std::weak_ptr<NotificationObserver> observer_; // kept by the centre
};

} // namespace corvane
