// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Characters.h>
#include <corvane/StringsAndText/String.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <utility>

namespace corvane {

namespace {

// The classic table has a row for each character of `a` and a column for each of `b`; its cell is the length of the
// longest common subsequence of that many characters of both. A row never falls and rises by at most one, so it is
// kept as one bit a column: zero where the cell is one more than its left neighbour. A row follows from the one
// above by a handful of operations on 64 columns at a time.
using Word = std::uint64_t;
constexpr std::size_t wordBits = 64;

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
    for (const std::string_view character : Characters(text))
        result.push_back(identities.of(character));
    return result;
}

class Table {
public:
    Table(const std::vector<Identity>& a, const std::vector<Identity>& b, std::size_t identities)
        : a_(a),
          words_((b.size() + wordBits - 1) / wordBits),
          step_(static_cast<std::size_t>(std::sqrt(static_cast<double>(a.size()))) + 1)
    {
        findMatches(b, identities);
        fillMatrixLCS();
    }

    // The positions in `a` of the subsequence, last first.
    std::vector<std::size_t> backtrackLCS(std::size_t i, std::size_t j)
    {
        std::vector<std::size_t> positions;
        while (i > 0 && j > 0) {
            if (bit(i, j)) { // no more than its left neighbour: that comes first, before the row above
                --j;
            } else if (i > 1 && !bit(i - 1, j)) {
                --i;
            } else {
                positions.push_back(--i);
                --j;
            }
        }
        return positions;
    }

private:
    struct Match {
        std::uint32_t word;
        Word bits; // of the columns that hold the character
    };

    // For each character the words of a row where it occurs, and no others: however many different characters
    // there are, all their lists together have at most one entry a column.
    void findMatches(const std::vector<Identity>& b, std::size_t identities)
    {
        starts_.assign(identities + 1, 0);
        std::vector<std::uint32_t> lastWord(identities, UINT32_MAX);
        const auto wordOf = [](std::size_t j) { return static_cast<std::uint32_t>(j / wordBits); };
        for (std::size_t j = 0; j < b.size(); ++j)
            if (std::exchange(lastWord[b[j]], wordOf(j)) != wordOf(j))
                ++starts_[b[j] + 1];
        for (std::size_t k = 1; k < starts_.size(); ++k)
            starts_[k] += starts_[k - 1];
        matches_.resize(starts_.back());
        std::ranges::fill(lastWord, UINT32_MAX);
        std::vector<std::uint32_t> ends(starts_.begin(), starts_.end() - 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            if (std::exchange(lastWord[b[j]], wordOf(j)) != wordOf(j))
                matches_[ends[b[j]]++] = {wordOf(j), 0};
            matches_[ends[b[j]] - 1].bits |= Word{1} << j % wordBits;
        }
    }

    // Row `i` + 1 from row `i`, in place, in its first `words` words. Where the character does not occur a word
    // only passes on a carry, and stays as it is without one.
    void advance(Word* row, std::size_t i, std::size_t words) const
    {
        const Match* match = matches_.data() + starts_[a_[i]];
        const Match* const end = matches_.data() + starts_[a_[i] + 1];
        Word carry = 0;
        std::size_t word = 0;
        for (; match != end && match->word < words; ++match) {
            for (; carry != 0 && word < match->word; ++word)
                carry = pass(row[word]);
            word = match->word;
            const Word old = row[word];
            Word sum, withCarry;
            const bool first = __builtin_add_overflow(old, old & match->bits, &sum);
            const bool second = __builtin_add_overflow(sum, carry, &withCarry);
            carry = Word{first} | Word{second};
            row[word++] = withCarry | (old & ~match->bits);
        }
        for (; carry != 0 && word < words; ++word)
            carry = pass(row[word]);
    }

    static Word pass(Word& word) noexcept
    {
        const Word old = word;
        word |= old + 1;
        return old == ~Word{0};
    }

    // All rows, of which every so many are kept.
    void fillMatrixLCS()
    {
        std::vector<Word> row(words_, ~Word{0});
        for (std::size_t i = 0; i < a_.size(); ++i) {
            if (i % step_ == 0)
                kept_.insert(kept_.end(), row.begin(), row.end());
            advance(row.data(), i, words_);
        }
    }

    // Whether the cell of row `i`, from 1, and column `j`, from 1, is no more than its left neighbour. The walk
    // back goes through blocks of rows from the last to the first; each is computed again when it gets there, up
    // to the column where the walk is.
    bool bit(std::size_t i, std::size_t j)
    {
        const std::size_t number = (i - 1) / step_;
        if (number != number_) {
            number_ = number;
            blockWords_ = (j - 1) / wordBits + 1;
            const std::size_t first = number * step_;
            const std::size_t rows = std::min(step_, a_.size() - first);
            block_.resize(rows * blockWords_);
            const Word* above = kept_.data() + number * words_;
            for (std::size_t k = 0; k < rows; ++k) {
                Word* const row = block_.data() + k * blockWords_;
                std::copy(above, above + blockWords_, row);
                advance(row, first + k, blockWords_);
                above = row;
            }
        }
        const Word word = block_[(i - 1 - number * step_) * blockWords_ + (j - 1) / wordBits];
        return (word >> (j - 1) % wordBits & 1) != 0;
    }

    const std::vector<Identity>& a_;
    std::size_t words_; // in a row
    std::size_t step_;
    std::vector<std::uint32_t> starts_; // of the matches of each character
    std::vector<Match> matches_;
    std::vector<Word> kept_;
    std::vector<Word> block_;
    std::size_t number_ = SIZE_MAX; // of the block
    std::size_t blockWords_ = 0;
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
    std::vector<std::size_t> positions;
    if (!idsOfA.empty() && !idsOfB.empty())
        positions = Table(idsOfA, idsOfB, identities).backtrackLCS(idsOfA.size(), idsOfB.size());

    std::string result;
    std::size_t position = 0;
    for (const std::string_view character : Characters(a)) {
        if (position++ < shared) {
            result += character;
        } else if (!positions.empty() && positions.back() == position - 1 - shared) {
            result += character;
            positions.pop_back();
        }
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
