// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace corvane::detail {

/// What readers may still be looking at when it is taken out of a shared structure.
struct Retired {
    virtual ~Retired() = default;
    std::uint64_t epoch = 0;
};

/// While one exists, what this thread found in a shared structure stays, even when others take it out. A section
/// neither locks nor writes to memory that other processors write, so it costs a few loads and stores; they nest.
/// What is taken out is destroyed by `release`, or by the end of the last section that might see it.
class ReadSection {
public:
    ReadSection() : slot_(threadSlot ? *threadSlot : takeSlot())
    {
        if (slot_.epoch.load(std::memory_order_relaxed) == 0)
            begin();
    }
    ~ReadSection()
    {
        if (epoch_ != 0)
            end();
    }
    ReadSection(const ReadSection&) = delete;
    ReadSection& operator=(const ReadSection&) = delete;

    /// Destroys `retired`, which no new reader can find any more, as soon as no section that began before is left.
    /// Call it without locks held that a destructor might want. Never waits for readers.
    static void release(std::unique_ptr<Retired> retired);

private:
    friend struct ReadSections;

    struct alignas(64) Slot {
        std::atomic<std::uint64_t> epoch{0}; // of the outermost section of the thread; 0 outside of one
        bool isTaken = false;
    };

    static Slot& takeSlot();
    static void destroyUnseen(std::unique_ptr<Retired> added = nullptr);

    // A reader announces itself in its thread's slot and then reads; a releaser unlinks and then looks at all slots.
    // Each must see the other or come first, which takes a full fence on both sides. Reading is frequent and
    // releasing is rare, so the releaser pays for both: membarrier() runs a fence on every processor that runs this
    // process. Where the kernel refuses it, readers announce themselves with an atomic exchange.
    void begin() noexcept
    {
        epoch_ = currentEpoch.load(std::memory_order_acquire);
        announce(epoch_);
    }
    void end()
    {
        announce(0);
        // Only a section that began before a retirement can have been the last that was waited for.
        if (newestRetired.load(std::memory_order_relaxed) >= epoch_) [[unlikely]]
            destroyUnseen();
    }
    void announce(std::uint64_t epoch) noexcept
    {
        if (hasBarrier.load(std::memory_order_relaxed)) [[likely]] {
            slot_.epoch.store(epoch, std::memory_order_release); // what earlier sections read comes before it
            std::atomic_signal_fence(std::memory_order_seq_cst);
        } else {
            slot_.epoch.exchange(epoch);
        }
    }

    static std::atomic<std::uint64_t> currentEpoch;
    static std::atomic<std::uint64_t>
        newestRetired; // epoch of what was retired last and is not yet destroyed
    static std::atomic<bool> hasBarrier;
    // Read on the fast path, so not through the dynamic linker's call.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local Slot* threadSlot;

    Slot& slot_;
    std::uint64_t epoch_ = 0; // 0 inside another section
};

} // namespace corvane::detail
