// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>

#include <any>
#include <functional>
#include <memory>
#include <optional>

namespace corvane {

namespace detail {

struct IndexedOperationsState {
    DispatchQoS qualityOfService = DispatchQoS::unspecified;
    Int maxConcurrentOperationCount = 8;
    std::optional<DispatchSemaphore> waitEndSemaphore;
    DispatchQueue notifierQueue = DispatchQueue::main();
    std::function<bool()> shouldContinue;
    std::function<std::any(Int index)> willPerformOperation;
    std::function<std::any(Int index, const std::any& input)> performOperation;
    std::function<void(Int index, const std::any& output)> didPerformOperation;
    std::function<void()> postProcessAllOperations;
    std::function<void()> didPostProcessAllOperations;
};

} // namespace detail

/// Runs a batch of operations, numbered from 0, side by side on background threads, a bounded number at a time, and
/// reports each on a queue of choice. An input or output is any value, or an empty `std::any` for none.
///
///     IndexedOperationsQueue thumbnails(DispatchQoS::utility);
///     thumbnails.performOperation = [=](Int index, const std::any&) -> std::any { return load(files[index]); };
///     thumbnails.didPerformOperation = [=](Int index, const std::any& image) { view->show(index, image); };
///     thumbnails.performOperations(files.size());
///
/// Of one operation, will, perform and did run in this order; operations start in the order of their indexes, and
/// those that follow others in time may end in any order. The end callbacks run after every scheduled operation's
/// `didPerformOperation` has returned.
///
/// Reports run on `notifierQueue`, the main queue unless changed: **a main thread that waits in
/// `waitUntilAllOperationsAreFinished()` while a batch runs waits for good**, for the batch waits for it. Waiting is
/// for background threads. A batch signals its end once: one waiter a batch is released by it.
///
/// The fields are read when their step runs and are not locked: set them before `performOperations`, or from a place
/// where no step can read them. The instance may be destroyed while a batch runs; the batch goes on to its end.
/// Thread-compatible, the waiting included in what may run beside a batch.
class CORVANE_API IndexedOperationsQueue {
    std::shared_ptr<detail::IndexedOperationsState> state_; // before the references into it

public:
    explicit IndexedOperationsQueue(DispatchQoS qos);

    IndexedOperationsQueue(const IndexedOperationsQueue&) = delete;
    IndexedOperationsQueue& operator=(const IndexedOperationsQueue&) = delete;

    /// Of the threads of batches started from now on.
    DispatchQoS& qualityOfService;
    /// How many operations may be in flight, from before their preparation until after their report; read when a
    /// batch starts. With 0 the batch never begins its first operation and never ends; a negative number stops the
    /// process.
    Int& maxConcurrentOperationCount;
    /// Signalled at the end of the latest batch; empty when none runs. A batch that ends while a newer one runs
    /// signals and clears the newer one's: a waiter on that may be released early.
    std::optional<DispatchSemaphore>& waitEndSemaphore;
    DispatchQueue& notifierQueue;

    /// On `notifierQueue`, asked before each operation is scheduled, also while all places are taken: false schedules
    /// no further one.
    std::function<bool()>& shouldContinue;
    /// On `notifierQueue`: gives the operation its input.
    std::function<std::any(Int index)>& willPerformOperation;
    /// On a background thread, beside others: the work.
    std::function<std::any(Int index, const std::any& input)>& performOperation;
    /// On `notifierQueue`: takes the output. The next operation may take the place only after it.
    std::function<void(Int index, const std::any& output)>& didPerformOperation;
    /// On a background thread, after the last report.
    std::function<void()>& postProcessAllOperations;
    /// On `notifierQueue`, after that; only then are waiters released.
    std::function<void()>& didPostProcessAllOperations;

    /// Starts a batch and returns. A negative count stops the process, on a background thread. Batches may overlap.
    void performOperations(Int count);

    /// Waits for the end of the latest batch; returns at once when none runs.
    void waitUntilAllOperationsAreFinished();
};

} // namespace corvane
