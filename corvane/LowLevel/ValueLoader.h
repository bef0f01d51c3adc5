// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace corvane {

namespace detail {
template <typename T>
class ValueLoaderCore;
}

/// One party's interest in the value of a `ValueLoader`. `cancel` and `wait` are thread-safe.
template <typename T>
class ValueRequest : public std::enable_shared_from_this<ValueRequest<T>> {
public:
    /// Withdraws the request: done on the main queue, soon. Until then the value may still arrive and the
    /// completion be called. Without effect on a request that has ended.
    void cancel();

    /// Waits until the value has arrived or the request was cancelled; then the loader's value, which is
    /// absent while there is none and after the loader has gone. Any number of threads may wait. Never call
    /// it on the main thread while the request is pending: the main queue delivers the value.
    std::optional<T> wait();

    /// Ends the request and calls its completion. What the loader does when the value has arrived.
    void perform();

    /// The request's number among the pending ones; absent once it has ended.
    std::optional<Int> index() const
    {
        const Int index = index_;
        return index == ended ? std::nullopt : std::optional<Int>(index);
    }

    ValueRequest(const ValueRequest&) = delete;
    ValueRequest& operator=(const ValueRequest&) = delete;

private:
    friend class detail::ValueLoaderCore<T>;
    static constexpr Int ended = -1;

    ValueRequest(Int index, Block completion, std::weak_ptr<detail::ValueLoaderCore<T>> loader)
        : index_(index), completion_(std::move(completion)), loader_(std::move(loader))
    {}

    std::atomic<Int> index_;
    Block completion_; // main thread
    const DispatchSemaphore semaphore_{0};
    const std::weak_ptr<detail::ValueLoaderCore<T>> loader_;
};

/// Loads one value once, in the background, for all who ask for it.
///
///     ValueLoader<Picture> cover(queue, [=] { return readPicture(file); }); // an optional Picture
///     cover.request([&] { view.show(cover.value()); });
///     auto request = cover.request();                     // on another thread: request->wait()
///
/// The first request starts the load. When it has ended, every pending request is completed on the main
/// queue; a load without result ends them too. Later requests are completed at once. When every request was
/// cancelled before the load began there is no load, and a later request starts anew.
///
/// A completion may file and cancel requests and destroy the loader. Destroying it does not stop a load under
/// way: its requests are still completed. Cancelling the operations of the given queue loses the load, and
/// with it the end of its requests. An exception leaving the load stops the process.
///
/// Requests are filed on the main thread; reading `state` and `value` is thread-safe.
template <typename T>
class ValueLoader {
    using Core = detail::ValueLoaderCore<T>;

public:
    enum class State { isNotLoaded, isLoading, isLoaded };

    /// `loadBlock` runs on `queue`, which is not that of the main thread.
    ValueLoader(OperationQueue queue, std::function<std::optional<T>()> loadBlock)
        : core_(std::make_shared<Core>(std::move(queue), std::move(loadBlock)))
    {}
    ValueLoader(const ValueLoader&) = delete;
    ValueLoader& operator=(const ValueLoader&) = delete;

    State state() const { return core_->state(); }
    /// Absent until the value has arrived, and when the load had none.
    std::optional<T> value() const { return core_->value(); }

    /// Asks for the value; `completion` is called when it is there. Once loaded that is now, on this thread,
    /// and there is no request to return. Who needs neither `cancel` nor `wait` may drop the request.
    std::shared_ptr<ValueRequest<T>> request(Block completion = {})
    {
        return Core::request(core_, std::move(completion));
    }

private:
    std::shared_ptr<Core> core_; // shared with the load under way
};

namespace detail {

template <typename T>
class ValueLoaderCore {
public:
    using State = typename ValueLoader<T>::State;

    ValueLoaderCore(OperationQueue queue, std::function<std::optional<T>()> loadBlock)
        : operationQueue_(std::move(queue)), loadBlock_(std::move(loadBlock))
    {}

    State state() const { return state_.load(std::memory_order_acquire); }
    // The value is written once, before the state says so.
    std::optional<T> value() const { return state() == State::isLoaded ? value_ : std::nullopt; }

    // Everything below that touches the requests runs on the main thread.

    static std::shared_ptr<ValueRequest<T>> request(const std::shared_ptr<ValueLoaderCore>& core,
                                                    Block completion)
    {
        if (core->state() == State::isLoaded) {
            if (completion)
                completion();
            return nullptr;
        }
        const Int index = core->requestsCount_++;
        std::shared_ptr<ValueRequest<T>> request(new ValueRequest<T>(index, std::move(completion), core));
        core->requests_.emplace(index, request);
        if (core->state() != State::isLoading) {
            core->state_ = State::isLoading;
            core->operationQueue_.addOperation([core] {
                if (core->prepareLoading())
                    core->concludeLoading(core->performLoading());
            });
        }
        return request;
    }

    void remove(Int index) { requests_.erase(index); }

private:
    bool prepareLoading()
    {
        return DispatchQueue::main().sync([this] {
            if (requests_.empty())
                state_ = State::isNotLoaded;
            return !requests_.empty();
        });
    }

    std::optional<T> performLoading() { return loadBlock_(); }

    void concludeLoading(std::optional<T> value)
    {
        DispatchQueue::main().sync([&] {
            value_ = std::move(value);
            state_.store(State::isLoaded, std::memory_order_release);
            for (const auto& [index, request] : requests_) // nobody files or removes one meanwhile
                request->perform();
            requestsCount_ = 0;
            requests_.clear();
        });
    }

    const OperationQueue operationQueue_;
    const std::function<std::optional<T>()> loadBlock_;
    std::atomic<State> state_ = State::isNotLoaded;
    std::optional<T> value_;
    Int requestsCount_ = 0;
    std::map<Int, std::shared_ptr<ValueRequest<T>>> requests_;
};

} // namespace detail

template <typename T>
void ValueRequest<T>::perform()
{
    index_ = ended;
    semaphore_.signal();
    if (completion_)
        std::exchange(completion_, Block())();
}

template <typename T>
void ValueRequest<T>::cancel()
{
    if (!index())
        return;
    DispatchQueue::main().async([self = this->shared_from_this()] {
        const std::optional<Int> index = self->index();
        if (!index)
            return; // ended since
        if (const auto loader = self->loader_.lock())
            loader->remove(*index);
        self->index_ = ended;
        self->completion_.reset();
        self->semaphore_.signal();
    });
}

template <typename T>
std::optional<T> ValueRequest<T>::wait()
{
    const auto loader = loader_.lock(); // so that the value outlives the load that delivers it
    if (index()) {
        semaphore_.wait();
        semaphore_.signal(); // hands the turn to the next who waits
    }
    return loader ? loader->value() : std::nullopt;
}

} // namespace corvane
