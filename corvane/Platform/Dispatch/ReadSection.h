// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

#include <cstdint>
#include <memory>

namespace corvane::detail {

struct ReaderSlot;

/// What readers may still be looking at when it is taken out of a shared structure.
struct Retired {
    virtual ~Retired() = default;
    std::uint64_t epoch = 0;
};

/// While one exists, what this thread found in a shared structure stays, even when others take it out. A
/// section neither locks nor writes to memory that other processors write, so it costs a few loads and
/// stores; they nest. What is taken out is destroyed by `release`, or by the end of the last section that
/// might see it.
class ReadSection {
public:
    ReadSection();
    ~ReadSection();
    ReadSection(const ReadSection&) = delete;
    ReadSection& operator=(const ReadSection&) = delete;

    /// Destroys `retired`, which no new reader can find any more, as soon as no section that began before is
    /// left. Call it without locks held that a destructor might want. Never waits for readers.
    static void release(std::unique_ptr<Retired> retired);

private:
    ReaderSlot& slot_;
};

} // namespace corvane::detail
