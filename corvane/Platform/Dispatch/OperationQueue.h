// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/DispatchQoS.h>

#include <memory>

namespace corvane {

/// A queue of operations that can be dropped before they start and waited for, at most so many at a time.
///
///     OperationQueue jobs(DispatchQoS::utility);
///     jobs.setMaxConcurrentOperationCount(1);
///     jobs.addOperation([=] { importFolder(folder); });
///     jobs.cancelAllOperations();                     // the import still runs to its end if it has started
///     jobs.waitUntilAllOperationsAreFinished();
///
/// Operations start in the order they were added, on the pool of the dispatch queues. A handle is cheap to
/// copy; copies name the same queue, and `==` asks that. The last handle may go while operations are queued:
/// they still run. An exception leaving an operation stops the process with its text. Thread-safe.
class CORVANE_API OperationQueue {
public:
    /// As many at a time as the system finds sensible; the initial setting.
    static constexpr Int defaultMaxConcurrentOperationCount = -1;

    explicit OperationQueue(DispatchQoS qualityOfService = DispatchQoS::unspecified);

    /// The queue whose operations run on the main thread, one at a time.
    static OperationQueue main();

    void addOperation(Block operation) const;
    /// Drops what has not started and adds `operation`, as one step against everybody else.
    void replaceOperations(Block operation) const;
    /// Drops what has not started, destroying it on this thread. What runs is not touched.
    void cancelAllOperations() const;
    /// Waits until none is queued or running, those added meanwhile included. Never call it from one of this
    /// queue's own operations, nor for operations that need the waiting thread.
    void waitUntilAllOperationsAreFinished() const;

    /// Queued and running together.
    Int operationCount() const;

    Int maxConcurrentOperationCount() const;
    /// 0 starts nothing until it is raised; `defaultMaxConcurrentOperationCount` is no limit; any other
    /// negative number stops the process. A lower limit does not stop what runs. The main queue keeps its
    /// one.
    void setMaxConcurrentOperationCount(Int count) const;

    DispatchQoS qualityOfService() const;
    /// Applies to operations that start afterwards. Without effect on the main queue.
    void setQualityOfService(DispatchQoS qualityOfService) const;

    friend bool operator==(const OperationQueue&, const OperationQueue&) noexcept = default;

private:
    struct Core;
    explicit OperationQueue(std::shared_ptr<Core> core) noexcept;

    std::shared_ptr<Core> core_;
};

} // namespace corvane
