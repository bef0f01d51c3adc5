// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/Types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// The entries of a suite in memory, by key. What comes from the file stays an archive until it is first asked
/// for: a program that opens a suite of thousands looks at a few. Thread-compatible, and asking counts as a
/// change.
class DefaultsTable {
public:
    struct Entry {
        std::string_view key;
        Int checksum = 0;
        Int seen = 0; ///< a mark for whoever goes over all entries

    private:
        friend class DefaultsTable;
        DataView archive_;                           // empty once it was read
        std::unique_ptr<const PropertyValue> value_; // null too for an archive that says nothing
        std::unique_ptr<const std::string> ownKey_;
    };

    DefaultsTable() = default;
    DefaultsTable(DefaultsTable&&) noexcept = default;
    DefaultsTable& operator=(DefaultsTable&&) noexcept = default;

    /// Null when there is none.
    Entry* find(std::string_view key) noexcept;
    /// Null when there is no entry, and for an archive that cannot be read.
    const PropertyValue* value(std::string_view key);
    const PropertyValue* value(Entry& entry);

    /// In no order; a pointer into it is good until the next change.
    std::vector<Entry>& entries() noexcept { return entries_; }

    void reserve(std::size_t count);
    /// Copies both. The key must be new.
    void addArchive(std::string_view key, DataView archive, Int checksum);
    Entry& put(std::string key, PropertyValue value, Int checksum);
    void erase(std::string_view key);

private:
    struct Slot {
        std::uint32_t hash;     // the upper half
        std::uint32_t position; // in entries_, from 1; 0 for a free slot
    };

    std::size_t slotOf(std::string_view key, std::uint64_t hash) const noexcept;
    void add(Entry entry);
    std::byte* room(std::size_t size);

    std::vector<Entry> entries_;
    std::vector<Slot> slots_;                          // a power of two of them, half of them free at least
    std::vector<std::unique_ptr<std::byte[]>> blocks_; // of keys and archives
    std::size_t blockRoom_ = 0;
    std::byte* blockEnd_ = nullptr;
};

} // namespace corvane
