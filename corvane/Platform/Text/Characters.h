// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

namespace corvane {

// Text in the characters that people see (extended grapheme clusters), in any script: a letter with its accents,
// a flag, a family of emoji and a carriage return with its line feed are one character each.
//
// Text is UTF-8, and any bytes are text: each byte that is no part of valid UTF-8 is one character. Nothing is
// remembered between calls. ASCII goes at gigabytes a second, other scripts at hundreds of megabytes. All are
// thread-safe.

/// How many characters `text` has. Linear.
[[nodiscard]] CORVANE_API Int characterCount(std::string_view text) noexcept;

/// The offset behind the character that begins at `offset`; the text's size from its end on. `offset` is the
/// beginning of a character.
[[nodiscard]] CORVANE_API std::size_t nextCharacterOffset(std::string_view text, std::size_t offset) noexcept;

/// The offset `characters` characters behind `offset`, or the text's size where fewer are left; then
/// `characters` is what was lacking, otherwise 0. Linear in the way gone.
[[nodiscard]] CORVANE_API std::size_t skipCharacters(std::string_view text, std::size_t offset,
                                                     Int& characters) noexcept;

/// Whether two characters, or two texts as a whole, are canonically equivalent: the same however their accents
/// are written. A byte that is no UTF-8 is equivalent to itself alone.
[[nodiscard]] CORVANE_API bool areEquivalent(std::string_view a, std::string_view b);

/// The one form that all texts equivalent to `text` share. Bytes that are no UTF-8 stay as they are.
[[nodiscard]] CORVANE_API std::string canonicalForm(std::string_view text);

/// In lower case by the rules that hold in every language; may have more characters than `text`. Bytes that are
/// no UTF-8 stay as they are.
[[nodiscard]] CORVANE_API std::string lowercased(std::string_view text);

/// Whether `text` holds nothing but white space and line ends.
[[nodiscard]] CORVANE_API bool isBlank(std::string_view text) noexcept;

/// The characters of a text, one after the other. Looks into the text.
///
///     for (std::string_view character : Characters(name))
///         add(character);
///
/// Thread-compatible.
class Characters {
public:
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::string_view*;
        using reference = std::string_view;

        Iterator() noexcept = default;
        Iterator(std::string_view text, std::size_t begin) noexcept
            : text_(text), begin_(begin), end_(nextCharacterOffset(text, begin))
        {}
        std::string_view operator*() const noexcept { return text_.substr(begin_, end_ - begin_); }
        Iterator& operator++() noexcept
        {
            begin_ = end_;
            end_ = nextCharacterOffset(text_, end_);
            return *this;
        }
        Iterator operator++(int) noexcept
        {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        /// Where the character begins, in bytes.
        std::size_t offset() const noexcept { return begin_; }
        friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.begin_ == b.begin_; }

    private:
        std::string_view text_;
        std::size_t begin_ = 0, end_ = 0;
    };

    explicit Characters(std::string_view text) noexcept : text_(text) {}
    Iterator begin() const noexcept { return {text_, 0}; }
    Iterator end() const noexcept { return {text_, text_.size()}; }

private:
    std::string_view text_;
};

} // namespace corvane
