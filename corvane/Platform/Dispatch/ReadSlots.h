// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <atomic>
#include <cstdint>

// Where a thread says which queues it reads, while a queue that is only read does not count its readers. Not
// an interface: use DispatchQueue.
namespace corvane::detail {

class QueueGate;

struct alignas(64) ReadSlots {
    static constexpr std::uint32_t capacity = 6;

    std::uint32_t depth = 0; // slots in use; the thread's own
    // Set by who revokes a queue's bias and may have seen this thread inside: a leaving reader looks into it.
    std::atomic<bool> isWatched{false};
    std::uint32_t counted =
        0; // a bit a slot: the reader was counted meanwhile; under the lock of the revokers
    std::atomic<const QueueGate*> inside[capacity]{};

    bool isInside(const QueueGate& gate) const noexcept
    {
        for (std::uint32_t slot = 0; slot < depth; ++slot)
            if (inside[slot].load(std::memory_order_relaxed) == &gate)
                return true;
        return false;
    }
};

/// This thread's; null until it first finds a queue that takes readers so.
extern CORVANE_API constinit thread_local ReadSlots* readSlots __attribute__((tls_model("initial-exec")));

} // namespace corvane::detail
