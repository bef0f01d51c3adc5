// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/PropertyArchive.h>
#include <corvane/Platform/Storage/DefaultsTable.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace corvane {

namespace {

constexpr std::size_t blockSize = 1 << 16;

std::uint32_t upperHalf(std::uint64_t hash) noexcept
{
    return static_cast<std::uint32_t>(hash >> 32U);
}

template <typename Word>
std::uint64_t load(const char* at) noexcept
{
    Word word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

inline std::uint64_t folded(std::uint64_t a, std::uint64_t b) noexcept
{
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

// 16 bytes a step; what is left, and a short key as a whole, in two words that may overlap.
inline std::uint64_t keyHash(std::string_view key) noexcept
{
    constexpr std::uint64_t odd = 0x9e3779b97f4a7c15;
    std::uint64_t hash = 0xff51afd7ed558ccd ^ key.size();
    const char* at = key.data();
    std::size_t size = key.size();
    for (; size > 16; size -= 16, at += 16)
        hash = folded(load<std::uint64_t>(at) ^ hash, load<std::uint64_t>(at + 8) ^ odd);
    if (size >= 8)
        return folded(load<std::uint64_t>(at) ^ hash, load<std::uint64_t>(at + size - 8) ^ odd);
    if (size >= 4)
        return folded(load<std::uint32_t>(at) ^ hash, load<std::uint32_t>(at + size - 4) ^ odd);
    std::uint64_t word = 0;
    for (; size > 0; --size)
        word = word << 8U | static_cast<unsigned char>(at[size - 1]);
    return folded(word ^ hash, odd);
}

} // namespace

// The slot of the key, or the free one that it would come into.
inline std::size_t DefaultsTable::slotOf(std::string_view key, std::uint64_t hash) const noexcept
{
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = upperHalf(hash) & mask;; at = (at + 1) & mask) {
        const Slot& slot = slots_[at];
        if (slot.position == 0 || (slot.hash == upperHalf(hash) && entries_[slot.position - 1].key == key))
            return at;
    }
}

DefaultsTable::Entry* DefaultsTable::find(std::string_view key) noexcept
{
    if (slots_.empty())
        return nullptr;
    const std::uint32_t position = slots_[slotOf(key, keyHash(key))].position;
    return position == 0 ? nullptr : &entries_[position - 1];
}

const PropertyValue* DefaultsTable::value(std::string_view key)
{
    Entry* const entry = find(key);
    return entry ? value(*entry) : nullptr;
}

const PropertyValue* DefaultsTable::value(Entry& entry)
{
    if (!entry.archive_.empty())
        if (std::optional<PropertyValue> value = unarchivedValue(std::exchange(entry.archive_, {})))
            entry.value_ = std::make_unique<const PropertyValue>(std::move(*value));
    return entry.value_.get();
}

void DefaultsTable::reserve(std::size_t count)
{
    const std::size_t wanted = std::bit_ceil(std::max<std::size_t>(count * 2, 16));
    if (wanted <= slots_.size())
        return;
    entries_.reserve(wanted / 2);
    slots_.assign(wanted, Slot{0, 0});
    for (std::size_t position = 0; position < entries_.size(); ++position) {
        const std::uint64_t hash = keyHash(entries_[position].key);
        slots_[slotOf(entries_[position].key, hash)] = {upperHalf(hash),
                                                        static_cast<std::uint32_t>(position + 1)};
    }
}

void DefaultsTable::add(Entry entry)
{
    reserve(entries_.size() + 1);
    const std::uint64_t hash = keyHash(entry.key);
    slots_[slotOf(entry.key, hash)] = {upperHalf(hash), static_cast<std::uint32_t>(entries_.size() + 1)};
    entries_.push_back(std::move(entry));
}

std::byte* DefaultsTable::room(std::size_t size)
{
    if (blockRoom_ < size) {
        blockRoom_ = std::max(size, blockSize);
        blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(blockRoom_));
        blockEnd_ = blocks_.back().get();
    }
    blockRoom_ -= size;
    return std::exchange(blockEnd_, blockEnd_ + size);
}

void DefaultsTable::addArchive(std::string_view key, DataView archive, Int checksum)
{
    std::byte* const copy = room(key.size() + archive.size());
    std::copy_n(reinterpret_cast<const std::byte*>(key.data()), key.size(), copy);
    std::copy_n(archive.data(), archive.size(), copy + key.size());
    Entry entry;
    entry.key = {reinterpret_cast<const char*>(copy), key.size()};
    entry.archive_ = {copy + key.size(), archive.size()};
    entry.checksum = checksum;
    add(std::move(entry));
}

DefaultsTable::Entry& DefaultsTable::put(std::string key, PropertyValue value, Int checksum)
{
    Entry* entry = find(key);
    if (entry == nullptr) {
        Entry fresh;
        fresh.ownKey_ = std::make_unique<const std::string>(std::move(key));
        fresh.key = *fresh.ownKey_;
        add(std::move(fresh));
        entry = &entries_.back();
    }
    entry->archive_ = {};
    entry->value_ = std::make_unique<const PropertyValue>(std::move(value));
    entry->checksum = checksum;
    return *entry;
}

void DefaultsTable::erase(std::string_view key)
{
    if (slots_.empty())
        return;
    std::size_t hole = slotOf(key, keyHash(key));
    const std::uint32_t position = slots_[hole].position;
    if (position == 0)
        return;
    // The last entry takes the place of the one that goes.
    if (position != entries_.size()) {
        slots_[slotOf(entries_.back().key, keyHash(entries_.back().key))].position = position;
        std::swap(entries_[position - 1], entries_.back());
    }
    entries_.pop_back();
    // Slots behind the hole that were pushed past it move up, or they would not be found any more.
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = (hole + 1) & mask; slots_[at].position != 0; at = (at + 1) & mask)
        if (((at - slots_[at].hash) & mask) >= ((at - hole) & mask))
            slots_[std::exchange(hole, at)] = slots_[at];
    slots_[hole].position = 0;
}

} // namespace corvane
