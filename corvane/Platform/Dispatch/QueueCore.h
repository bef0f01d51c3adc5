// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Dispatch/DispatchQoS.h>
#include <corvane/Platform/Dispatch/QueueGate.h>
#include <corvane/Platform/Dispatch/Task.h>
#include <corvane/Platform/Dispatch/WorkerPool.h>

#include <atomic>
#include <string>

// A dispatch queue behind its handles. Internal to the dispatch layer.
namespace corvane::detail {

/// Tasks are pushed onto `inbox_`, a stack that anybody reaches with one exchange. Those who are inside take
/// the whole stack, turn it round and append it to the list: the owner freely, readers under `listLock_`.
///
/// Who must act, so that nothing is forgotten:
/// - `ordered` is set, nobody is inside: the queue is scheduled, or the thread that brought this about is
/// just
///   scheduling or claiming it. Who sets `ordered` on an idle word schedules; the last reader out that leaves
///   `ordered` behind claims; an owner clears it only before a last look at the inbox, or schedules.
/// - plain tasks wait and no ordered one is before them: the queue is scheduled or a worker inside looks
/// again.
///   Who makes the inbox non-empty schedules. A worker that is refused because somebody owns the queue leaves
///   `ordered` set behind it, which sends the owner the slow way out.
class QueueCore final : public QueueGate, public Runnable {
public:
    QueueCore(Kind kind, std::string label, DispatchQoS qos);

    static QueueCore& mainQueue();
    static QueueCore& of(QueueGate& gate) noexcept { return static_cast<QueueCore&>(gate); }
    static std::string reportAll();

    const std::string& label() const noexcept { return label_; }
    DispatchQoS qos() const noexcept { return qos_; }

    void async(Block&& block, bool alone);
    /// Runs what the main queue holds, but nothing that is added meanwhile; whether there was anything.
    bool drainOnMainThread();
    /// For a block of the main queue: whether others wait behind it.
    bool hasBlocksWaiting() const noexcept
    {
        return first_ != nullptr || inbox_.load(std::memory_order_seq_cst) != nullptr;
    }
    bool isScheduled() const noexcept { return scheduled_.load(std::memory_order_seq_cst); }

    void run() override;
    void giveBack(Task* first) noexcept override;

private:
    friend class QueueGate;
    ~QueueCore() override;

    Task* push(Task* task) noexcept;
    void pushOrdered(Task* task) noexcept;
    void schedule() noexcept;
    void refill() noexcept;
    Task* pop() noexcept;
    bool claim() noexcept;
    void clearOrderedIfDone() noexcept;
    bool tryRelease() noexcept;
    void releaseToPool() noexcept;
    void runTask(Task* task) noexcept;
    enum class Now { outside, reading };
    Now advance(bool onWorker) noexcept;
    bool admitReaders() noexcept;
    enum class Turn { mine, passedOn };
    Turn runWhatWasBefore(WaitingTask& self) noexcept;
    void waitShared() noexcept;
    void waitExclusive() noexcept;
    void readOnWorker() noexcept;
    bool runPlainTasks(Worker& worker) noexcept;
    Task* takeBatch(int& size, bool& more) noexcept;
    bool runBatch(Worker& worker, Task* first, int size) noexcept;

    alignas(64) std::atomic<Task*> inbox_{nullptr};
    std::atomic<bool> scheduled_{false};

    alignas(64) SpinLock listLock_;
    Task* first_ = nullptr;
    Task* last_ = nullptr;
    std::size_t orderedCount_ = 0; // ordered tasks in the list
    std::atomic<int> batchSize_{1};

    const std::string label_;
    const DispatchQoS qos_;
    WorkerPool& pool_;

    // The register of all queues, for reports.
    QueueCore* previous_ = nullptr;
    QueueCore* following_ = nullptr;
};

/// Told when the main queue has work; set by the main run loop.
void wakeMainRunLoop() noexcept;

} // namespace corvane::detail
