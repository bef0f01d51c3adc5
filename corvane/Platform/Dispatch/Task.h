// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/Futex.h>

#include <cstdint>
#include <exception>
#include <string>

// What stands in a queue. Internal to the dispatch layer.
namespace corvane::detail {

struct Task {
    enum class Kind : std::uint32_t {
        plain,           // a block that may run beside others
        barrier,         // a block that runs alone; every block of a serial queue
        sharedWaiter,    // a caller of sync who waits to be let in
        exclusiveWaiter, // a caller of sync who waits to have the queue
        hop,             // a caller of sync whose block the main thread runs
    };

    Task(Kind taskKind, Block&& taskBlock) noexcept : kind(taskKind), block(std::move(taskBlock)) {}
    explicit Task(Kind taskKind) noexcept : kind(taskKind) {}

    /// Whether the task must keep its turn against others.
    bool isOrdered() const noexcept { return kind != Kind::plain; }

    Task* next = nullptr;
    Kind kind;
    Block block;
};
static_assert(sizeof(Task) <= 64);

/// Lives on the stack of the thread that waits.
struct WaitingTask : Task {
    using Task::Task;

    FutexWord granted{0};
    void (*call)(void*) = nullptr;
    void* context = nullptr;
    std::exception_ptr failure;

    /// The last touch: the waiting thread may leave at once.
    void grant() noexcept;
    void waitUntilGranted() noexcept;
};

/// Tasks come and go by the million, made on one thread and ended on another: they are recycled in chunks
/// between threads instead of being allocated.
Task* makeTask(Task::Kind kind, Block&& block);
void recycleTask(Task* task) noexcept;

/// Runs a block; an exception that leaves it stops the process with its text. `where` names the place it ran.
void runBlock(Block& block, const std::string& where) noexcept;

} // namespace corvane::detail
