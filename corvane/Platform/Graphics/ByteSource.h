// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

#include <memory>
#include <optional>
#include <span>
#include <string>

namespace corvane::images {

/// The bytes of an image file, in memory or on disk, read by position. A handle: copies share what they read.
/// Thread-safe.
class ByteSource {
public:
    /// Absent unless `path` is a regular file that can be read; a pipe without a writer does not block.
    static std::optional<ByteSource> open(const std::string& path);
    static ByteSource owning(Data data);
    static ByteSource viewing(DataView data);

    std::uint64_t size() const noexcept { return size_; }
    /// All bytes where they are in memory already, otherwise empty.
    DataView memory() const noexcept { return memory_; }
    /// Copies from `offset` on and gives the number of bytes copied: fewer than asked only at the end or
    /// where the disk fails.
    std::size_t read(std::uint64_t offset, std::span<std::byte> into) const noexcept;

private:
    ByteSource() = default;

    std::shared_ptr<const void> owner_;
    DataView memory_;
    std::uint64_t size_ = 0;
    int file_ = -1;
};

} // namespace corvane::images
