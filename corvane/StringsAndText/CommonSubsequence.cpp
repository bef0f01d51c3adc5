// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Characters.h>
#include <corvane/StringsAndText/String.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

namespace corvane {

namespace {

// The classic table has a row for each character of `a` and a column for each of `b`; its cell is the length of the
// longest common subsequence of that many characters of both. A row never falls and rises by at most one, so it is
// kept as one bit a column: zero where the cell is one more than its left neighbour. A row follows from the one
// above by a handful of operations on 64 columns at a time, with a carry from each word to the next.
using Word = std::uint64_t;
constexpr std::size_t wordBits = 64;

// So many words of a row are gone through from the first row to the last before the next: they stay in registers,
// and their masks in the nearest cache.
constexpr std::size_t stripWords = 4;
constexpr std::size_t stripColumns = stripWords * wordBits;
using Words = std::array<Word, stripWords>;
struct Strip {
    Words words;

    bool bit(std::size_t column) const { return (words[column / wordBits] >> column % wordBits & 1) != 0; }
};
constexpr Strip rowZero = {{~Word{0}, ~Word{0}, ~Word{0}, ~Word{0}}};

// The sum of two strips and a carry of one bit; gives the carry out of it.
Word add(Word carry, const Words& a, const Words& b, Words& sum) noexcept
{
#ifdef __x86_64__
    // Compilers take the carry out of its flag between the intrinsics for this, or keep the sums in memory.
    Word s0 = a[0], s1 = a[1], s2 = a[2], s3 = a[3];
    asm("addb $-1, %b[carry]\n\t"
        "adcq %[b0], %[s0]\n\t"
        "adcq %[b1], %[s1]\n\t"
        "adcq %[b2], %[s2]\n\t"
        "adcq %[b3], %[s3]\n\t"
        "setc %b[carry]"
        : [carry] "+&q"(carry), [s0] "+&r"(s0), [s1] "+&r"(s1), [s2] "+&r"(s2), [s3] "+&r"(s3)
        : [b0] "r"(b[0]), [b1] "r"(b[1]), [b2] "r"(b[2]), [b3] "r"(b[3])
        : "cc");
    sum = {s0, s1, s2, s3};
    return carry;
#else
    for (std::size_t k = 0; k < stripWords; ++k) {
        Word half;
        const bool first = __builtin_add_overflow(a[k], b[k], &half);
        const bool second = __builtin_add_overflow(half, carry, &sum[k]);
        carry = Word{first} | Word{second};
    }
    return carry;
#endif
}

using Identity = std::uint32_t;

// Numbers for characters, the same for equivalent ones.
class Identities {
public:
    Identity of(std::string_view character)
    {
        if (character.size() == 1) // ASCII or no UTF-8: its own form, and shared by no other character
            return static_cast<unsigned char>(character.front());
        const auto [known, isNew] = spellings_.try_emplace(character, 0);
        if (isNew) {
            const std::string form = canonicalForm(character);
            known->second = form.size() == 1 ? static_cast<unsigned char>(form.front())
                                             : forms_.try_emplace(form, next_).first->second;
            next_ += known->second == next_;
        }
        return known->second;
    }
    std::size_t count() const noexcept { return next_; }

private:
    std::unordered_map<std::string_view, Identity> spellings_;
    std::unordered_map<std::string, Identity> forms_;
    Identity next_ = 256;
};

std::vector<Identity> identitiesOf(std::string_view text, Identities& identities)
{
    std::vector<Identity> result;
    result.reserve(text.size());
    for (const std::string_view character : Characters(text))
        result.push_back(identities.of(character));
    return result;
}

// Of the table, only what leads back to any of its cells is kept: some rows, and the carries at some columns. A tile
// between two such rows and columns is computed again when the walk back enters it, and the walk enters few.
class Table {
public:
    Table(const std::vector<Identity>& a, const std::vector<Identity>& b, std::size_t identities)
        : a_(a),
          b_(b),
          strips_((b.size() + stripColumns - 1) / stripColumns),
          tileStrips_(std::max<std::size_t>(1, strips_ / 128)),
          tileRows_(std::max<std::size_t>(4, a.size() / (128 * wordBits)) * wordBits),
          carryWords_((a.size() + wordBits - 1) / wordBits),
          slots_(identities, 0)
    {
        fillMatrixLCS();
    }

    // Which characters of `a` are in the subsequence.
    std::vector<bool> backtrackLCS()
    {
        std::vector<bool> isCommon(a_.size());
        std::size_t i = a_.size(), j = b_.size();
        while (i > 0 && j > 0) {
            if (bit(i, j)) { // no more than its left neighbour: that comes first, before the row above
                --j;
            } else if (i > 1 && !bit(i - 1, j)) {
                --i;
            } else {
                isCommon[--i] = true;
                --j;
            }
        }
        return isCommon;
    }

private:
    // The masks of a strip: for each character that its columns hold, which of them. Slot 0 is for all others.
    void prepareMasks(std::size_t strip)
    {
        for (const Identity identity : inMasks_)
            slots_[identity] = 0;
        inMasks_.clear();
        masks_.assign(1, Strip{});
        const std::size_t begin = strip * stripColumns;
        const std::size_t columns = std::min(stripColumns, b_.size() - begin);
        for (std::size_t column = 0; column < columns; ++column) {
            const Identity identity = b_[begin + column];
            if (slots_[identity] == 0) {
                slots_[identity] = static_cast<std::uint16_t>(masks_.size());
                masks_.emplace_back();
                inMasks_.push_back(identity);
            }
            masks_[slots_[identity]].words[column / wordBits] |= Word{1} << column % wordBits;
        }
    }

    // Takes a strip from the row before `begin` to that before `end`, showing `visit` each. `carries` has a bit a
    // row, of what comes in from the left, and then of what goes out to the right. `begin` is a multiple of 64.
    template <typename Visit>
    void runDown(Strip& strip, std::size_t begin, std::size_t end, Word* carries, Visit visit) const
    {
        auto words = strip.words;
        const Strip* const masks = masks_.data();
        const std::uint16_t* const slots = slots_.data();
        for (std::size_t first = begin; first < end; first += wordBits, ++carries) {
            const std::size_t rows = std::min(wordBits, end - first);
            const Identity* const characters = a_.data() + first;
            Word in = *carries, out = 0;
            for (std::size_t row = 0; row < rows; ++row) {
                const auto& mask = masks[slots[characters[row]]].words;
                // One loop would put other operations between the additions, and the carry into a register.
                Words matches, sums;
                for (std::size_t k = 0; k < stripWords; ++k)
                    matches[k] = words[k] & mask[k];
                const Word carry = add(in >> row & 1, words, matches, sums);
                for (std::size_t k = 0; k < stripWords; ++k)
                    words[k] = sums[k] | (words[k] ^ matches[k]);
                out |= carry << row;
                visit(first + row, words);
            }
            *carries = out;
        }
        strip.words = words;
    }

    void fillMatrixLCS()
    {
        std::vector<Word> carries(carryWords_);
        for (std::size_t number = 0; number < strips_; ++number) {
            if (number % tileStrips_ == 0)
                keptCarries_.insert(keptCarries_.end(), carries.begin(), carries.end());
            prepareMasks(number);
            Strip strip = rowZero;
            for (std::size_t row = 0; row < a_.size(); row += tileRows_) {
                keptRows_.push_back(strip);
                runDown(strip, row, std::min(row + tileRows_, a_.size()), carries.data() + row / wordBits,
                        [](std::size_t, const auto&) {});
            }
        }
    }

    // Whether the cell of row `i`, from 1, and column `j`, from 1, is no more than its left neighbour.
    bool bit(std::size_t i, std::size_t j)
    {
        const std::size_t row = i - 1, strip = (j - 1) / stripColumns;
        if (row - tileRow_ >= tileRows_ || strip - tileStrip_ >= tileStrips_)
            enterTile(row / tileRows_ * tileRows_, strip / tileStrips_ * tileStrips_);
        return tile_[(strip - tileStrip_) * tileRows_ + row - tileRow_].bit((j - 1) % stripColumns);
    }

    void enterTile(std::size_t row, std::size_t strip)
    {
        tileRow_ = row;
        tileStrip_ = strip;
        tile_.resize(tileRows_ * tileStrips_);
        const std::size_t end = std::min(row + tileRows_, a_.size());
        const auto* const kept = keptCarries_.data() + strip / tileStrips_ * carryWords_ + row / wordBits;
        std::vector<Word> carries(kept, kept + (end - row + wordBits - 1) / wordBits);
        const std::size_t rowsOfTiles = (a_.size() + tileRows_ - 1) / tileRows_;
        for (std::size_t number = strip; number < std::min(strip + tileStrips_, strips_); ++number) {
            prepareMasks(number);
            Strip state = keptRows_[number * rowsOfTiles + row / tileRows_];
            Strip* const rows = tile_.data() + (number - strip) * tileRows_;
            runDown(state, row, end, carries.data(),
                    [&](std::size_t at, const auto& words) { rows[at - row].words = words; });
        }
    }

    const std::vector<Identity>& a_;
    const std::vector<Identity>& b_;
    std::size_t strips_;                // in a row
    std::size_t tileStrips_, tileRows_; // in a tile
    std::size_t carryWords_;            // at one column
    std::vector<std::uint16_t> slots_;  // in `masks_`, of each character
    std::vector<Strip> masks_;
    std::vector<Identity> inMasks_;
    std::vector<Strip> keptRows_;   // strip by strip, what is above each tile
    std::vector<Word> keptCarries_; // what comes into each column of tiles
    std::vector<Strip> tile_;
    std::size_t tileRow_ = SIZE_MAX / 2, tileStrip_ = SIZE_MAX / 2; // where it begins
};

std::string commonSubsequence(const std::string& a, const std::string& b)
{
    std::vector<Identity> idsOfA, idsOfB;
    std::size_t identities;
    {
        Identities all;
        idsOfA = identitiesOf(a, all);
        idsOfB = identitiesOf(b, all);
        identities = all.count();
    }
    // What both begin with is in every longest subsequence that the walk finds. What both end with is not: the walk
    // stays in `a` while it can.
    const auto [endOfA, endOfB] = std::ranges::mismatch(idsOfA, idsOfB);
    const auto shared = static_cast<std::size_t>(endOfA - idsOfA.begin());
    idsOfA.erase(idsOfA.begin(), endOfA);
    idsOfB.erase(idsOfB.begin(), endOfB);
    std::vector<bool> isCommon;
    if (!idsOfA.empty() && !idsOfB.empty())
        isCommon = Table(idsOfA, idsOfB, identities).backtrackLCS();
    isCommon.resize(idsOfA.size());

    std::string result;
    std::size_t position = 0;
    for (const std::string_view character : Characters(a)) {
        if (position < shared || isCommon[position - shared])
            result += character;
        ++position;
    }
    return result;
}

} // namespace

std::optional<std::string> commonSubsequence(std::span<const std::string> of)
{
    if (of.empty())
        return std::nullopt;
    std::string result = of.front();
    for (const std::string& other : of.subspan(1))
        result = commonSubsequence(result, other);
    return result;
}

} // namespace corvane
