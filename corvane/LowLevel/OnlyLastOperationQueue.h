// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>

#include <concepts>
#include <functional>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

namespace corvane {

/// Background jobs of which only the newest matters: a preview recomputed after each keystroke.
///
///     OnlyLastOperationQueue preview(DispatchQoS::userInitiated);
///     preview.addOperation([&] { return editor.text(); },             // on the main thread
///                          [](std::string text) { return render(text); }, // in the background
///                          [&](Picture picture) { view.show(picture); }); // on the main thread again
///
/// One job runs at a time. A new one drops every job that has not started, none of whose blocks is then ever
/// called; a job that has started always runs to its end, all three blocks in their order.
///
/// Destroying the queue does not drop its jobs. An exception leaving a block stops the process. Thread-safe.
class CORVANE_API OnlyLastOperationQueue {
public:
    /// `qos` is that of the background stage.
    explicit OnlyLastOperationQueue(DispatchQoS qos);
    OnlyLastOperationQueue(const OnlyLastOperationQueue&) = delete;
    OnlyLastOperationQueue& operator=(const OnlyLastOperationQueue&) = delete;

    /// Where the first and the last stage run, each while the job waits; at first the main queue.
    DispatchQueue notifierQueue() const;
    /// Applies to every stage that has not been sent to its queue yet, of running jobs too.
    void setNotifierQueue(const DispatchQueue& queue);

    /// Drops the jobs that have not started and adds one, as a single step against other callers. `before`
    /// runs on the notifier queue, `load` takes its result and runs in the background, `after` takes the
    /// result of `load` and runs on the notifier queue. A stage without a result hands nothing to the next.
    template <std::invocable Before, typename Load, typename After>
    void addOperation(Before before, Load load, After after)
    {
        operationQueue_.replaceOperations([notifier = notifier_, before = std::move(before),
                                           load = std::move(load), after = std::move(after)]() mutable {
            using Loaded = decltype(loaded(notifier->current(), before, load));
            if constexpr (std::is_void_v<Loaded>) {
                loaded(notifier->current(), before, load);
                notifier->current().sync(after);
            } else {
                Loaded value = loaded(notifier->current(), before, load);
                notifier->current().sync([&] { std::invoke(after, std::move(value)); });
            }
        });
    }

    /// Drops the jobs that have not started.
    void cancelAllOperations();
    /// Waits until no job is queued or running. Never call it on the notifier queue's thread, which by
    /// default is the main one, while a job runs: each would wait for the other.
    void waitUntilAllOperationsAreFinished();

private:
    class Notifier {
    public:
        DispatchQueue current() const;
        void set(DispatchQueue queue);

    private:
        mutable std::mutex mutex_;
        DispatchQueue queue_ = DispatchQueue::main();
    };

    template <typename Before, typename Load>
    static decltype(auto) loaded(const DispatchQueue& notifierQueue, Before& before, Load& load)
    {
        if constexpr (std::is_void_v<std::invoke_result_t<Before&>>) {
            notifierQueue.sync(before);
            return std::invoke(load);
        } else {
            return std::invoke(load, notifierQueue.sync(before));
        }
    }

    std::shared_ptr<Notifier> notifier_; // shared with the jobs, which may outlive the queue
    OperationQueue operationQueue_;
};

} // namespace corvane
