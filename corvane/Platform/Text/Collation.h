// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Text/Locale.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

enum class ComparisonResult : int { ascending = -1, same = 0, descending = 1 };

/// Compares texts as a file browser does: without regard to case, diacritics and width, digit runs by the
/// number they write, everything else by the rules of a locale.
///
///     auto collation = Collation::finder(Locale("de_DE"));
///     collation->compare("file2", "File10"); // ascending
///
/// Takes any bytes: what is not UTF-8 compares as U+FFFD, and the order is total over all texts. Numbers may
/// have any number of digits; leading zeros do not count. Thread-safe.
class CORVANE_API Collation {
public:
    /// The collation of a locale: made at its first use, then shared by the process.
    static std::shared_ptr<const Collation> finder(const Locale& locale);

    virtual ~Collation() = default;

    [[nodiscard]] virtual ComparisonResult compare(std::string_view a, std::string_view b) const = 0;

    /// Appends the bytes that represent `text` in comparisons: of two texts, the one whose bytes come first
    /// lexicographically comes first. None of the bytes is 0. Worth it from about ten comparisons a text on.
    virtual void appendSortKey(std::string_view text, std::vector<unsigned char>& keys) const = 0;

    /// The positions of `texts` in ascending order; texts that compare the same keep their order.
    [[nodiscard]] std::vector<std::size_t> sortedOrder(std::span<const std::string_view> texts) const;

protected:
    Collation() = default;
};

} // namespace corvane
