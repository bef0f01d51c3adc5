// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/SwapSort.h>
#include <corvane/Platform/Text/Collation.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace corvane {

namespace {

// A text on its way to its place: eight bytes of its key at a time, compared as one number.
struct Entry {
    std::uint64_t bytes;
    std::size_t text;
};

class KeySort {
public:
    KeySort(const Collation& collation, std::span<const std::string_view> texts)
    {
        starts_.reserve(texts.size() + 1);
        entries_.reserve(texts.size());
        for (const std::string_view text : texts) {
            entries_.push_back({0, starts_.size()});
            starts_.push_back(keys_.size());
            collation.appendSortKey(text, keys_);
        }
        starts_.push_back(keys_.size());
        keys_.resize(keys_.size() +
                     sizeof(std::uint64_t)); // so that eight bytes can be read at any key's end
        sort(entries_, 0);
    }

    std::vector<std::size_t> order() const
    {
        std::vector<std::size_t> result(entries_.size());
        std::ranges::transform(entries_, result.begin(), &Entry::text);
        return result;
    }

private:
    // Of entries whose keys agree in their first `depth` bytes.
    void sort(std::span<Entry> entries, std::size_t depth)
    {
        if (entries.size() < 2)
            return;
        for (;; depth += sizeof(std::uint64_t)) {
            std::uint64_t different = 0;
            for (Entry& entry : entries) {
                entry.bytes = bytesAt(entry.text, depth);
                different |= entry.bytes ^ entries.front().bytes;
            }
            if (different)
                break;
            if ((entries.front().bytes & 0xFF) == 0) { // all keys end here: no byte of a key is 0
                std::ranges::sort(entries, {}, &Entry::text);
                return;
            }
        }
        detail::swapSort(entries, [](const Entry& a, const Entry& b) { return a.bytes < b.bytes; });
        for (std::size_t begin = 0, end; begin < entries.size(); begin = end) {
            for (end = begin + 1; end < entries.size() && entries[end].bytes == entries[begin].bytes; ++end) {
            }
            sort(entries.subspan(begin, end - begin), depth + sizeof(std::uint64_t));
        }
    }

    std::uint64_t bytesAt(std::size_t text, std::size_t depth) const
    {
        const std::size_t at = starts_[text] + depth;
        const std::size_t end = starts_[text + 1];
        if (at >= end)
            return 0;
        std::uint64_t bytes;
        std::memcpy(&bytes, keys_.data() + at, sizeof bytes);
        if constexpr (std::endian::native == std::endian::little)
            bytes = __builtin_bswap64(bytes);
        const std::size_t beyond = sizeof bytes - std::min(end - at, sizeof bytes);
        return beyond == 0 ? bytes : bytes >> 8 * beyond << 8 * beyond;
    }

    std::vector<unsigned char> keys_;
    std::vector<std::size_t> starts_; // of the keys, and the end of the last
    std::vector<Entry> entries_;
};

} // namespace

std::vector<std::size_t> Collation::sortedOrder(std::span<const std::string_view> texts) const
{
    return KeySort(*this, texts).order();
}

} // namespace corvane
