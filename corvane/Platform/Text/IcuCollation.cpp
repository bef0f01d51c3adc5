// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Collation.h>

#include <unicode/ucol.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <limits>
#include <map>
#include <mutex>
#include <optional>

namespace corvane {

namespace {

// ICU counts in 32 bits; nobody sorts by what comes after two thousand million bytes.
std::int32_t lengthOf(std::string_view text)
{
    return static_cast<std::int32_t>(
        std::min<std::size_t>(text.size(), std::numeric_limits<std::int32_t>::max()));
}

// Negative for what is not UTF-8.
UChar32 nextCharacter(const char* text, std::int32_t& at, std::int32_t length)
{
    UChar32 character = 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
    U8_NEXT(text, at, length, character);
#pragma GCC diagnostic pop
    return character;
}

// Whether a digit other than 0 to 9 is in `text`. The first of them is U+0660.
bool hasForeignDigits(std::string_view text)
{
    const auto first =
        std::ranges::find_if(text, [](char byte) { return static_cast<unsigned char>(byte) >= 0xD9; });
    const std::int32_t length = lengthOf(text);
    for (auto at = static_cast<std::int32_t>(first - text.begin()); at < length;) {
        const UChar32 character = nextCharacter(text.data(), at, length);
        if (character >= 0x660 && u_isdigit(character))
            return true;
    }
    return false;
}

// The longest number that ICU compares by value: it cuts a longer run of digits into numbers of this many.
constexpr std::size_t longestNumber = 254;

// U+FFFF, which sorts behind every other character.
constexpr std::string_view last = "\xEF\xBF\xBF";

// A run of digits, zeros in front already dropped, that is longer than ICU's longest number, in a form that
// ICU compares rightly: the greatest number that it knows, raised above that by the last character; then the
// count of digits, itself a number; then the digits in numbers of equal length.
void appendLongNumber(std::string_view digits, std::string& out)
{
    out.append(longestNumber, '9');
    out.append(last).append(std::to_string(digits.size()));
    for (; !digits.empty(); digits.remove_prefix(std::min(digits.size(), longestNumber)))
        out.append(last).append(digits.substr(0, longestNumber));
}

// `text` with its long numbers put in that form; nothing if it has none.
std::optional<std::string> withLongNumbers(std::string_view text)
{
    if (text.size() <= longestNumber)
        return std::nullopt;
    std::string out;
    bool found = false;
    std::string digits; // of the run under way, as ASCII, without zeros in front
    std::int32_t runStart = -1;
    const std::int32_t length = lengthOf(text);
    const auto endRun = [&](std::int32_t at) {
        if (digits.size() > longestNumber) {
            found = true;
            appendLongNumber(digits, out);
        } else {
            out.append(
                text.substr(static_cast<std::size_t>(runStart), static_cast<std::size_t>(at - runStart)));
        }
        digits.clear();
        runStart = -1;
    };
    for (std::int32_t at = 0; at < length;) {
        const std::int32_t start = at;
        const UChar32 character = nextCharacter(text.data(), at, length);
        const std::int32_t digit = character < 0 ? -1 : u_charDigitValue(character);
        if (digit >= 0) {
            if (runStart < 0)
                runStart = start;
            if (digit > 0 || !digits.empty())
                digits.push_back(static_cast<char>('0' + digit));
            continue;
        }
        if (runStart >= 0)
            endRun(start);
        out.append(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(at - start)));
    }
    if (runStart >= 0)
        endRun(length);
    return found ? std::optional(std::move(out)) : std::nullopt;
}

class IcuCollation final : public Collation {
public:
    explicit IcuCollation(const Locale& locale) : collator_(open(locale.identifier()))
    {
        if (!collator_)
            collator_ = open({});
    }
    IcuCollation(const IcuCollation&) = delete;
    IcuCollation& operator=(const IcuCollation&) = delete;
    ~IcuCollation() override { ucol_close(collator_); }

    ComparisonResult compare(std::string_view a, std::string_view b) const override
    {
        const auto longA = withLongNumbers(a);
        const auto longB = withLongNumbers(b);
        if (longA)
            a = *longA;
        if (longB)
            b = *longB;
        if (!collator_)
            return static_cast<ComparisonResult>((a > b) - (a < b));
        // In a locale with rules of its own ICU misses such a digit where it ends what two texts have in common,
        // and so compares the number without it; in the making of keys it does not.
        if (hasForeignDigits(a) || hasForeignDigits(b)) {
            std::vector<unsigned char> keyOfA, keyOfB;
            appendSortKey(a, keyOfA);
            appendSortKey(b, keyOfB);
            return static_cast<ComparisonResult>((keyOfA > keyOfB) - (keyOfA < keyOfB));
        }
        UErrorCode status = U_ZERO_ERROR;
        const UCollationResult result =
            ucol_strcollUTF8(collator_, a.data(), lengthOf(a), b.data(), lengthOf(b), &status);
        return static_cast<ComparisonResult>(result);
    }

    void appendSortKey(std::string_view text, std::vector<unsigned char>& keys) const override
    {
        const auto longText = withLongNumbers(text);
        if (longText)
            text = *longText;
        // UTF-16 never has more units than UTF-8 has bytes.
        static thread_local std::vector<UChar> units;
        if (units.size() < text.size())
            units.resize(text.size());
        std::int32_t count = lengthOf(text);
        if (std::ranges::all_of(text, [](char byte) { return static_cast<signed char>(byte) >= 0; })) {
            std::copy(text.begin(), text.end(), units.begin());
        } else {
            UErrorCode status = U_ZERO_ERROR;
            u_strFromUTF8WithSub(units.data(), static_cast<std::int32_t>(units.size()), &count, text.data(),
                                 count, 0xFFFD, nullptr, &status);
        }
        if (!collator_) {
            std::ranges::copy_if(text, std::back_inserter(keys), [](char byte) { return byte != 0; });
            return;
        }
        const std::size_t start = keys.size();
        std::size_t room = 2 * static_cast<std::size_t>(count) + 16;
        for (;;) {
            keys.resize(start + room);
            const auto needed = static_cast<std::size_t>(ucol_getSortKey(
                collator_, units.data(), count, keys.data() + start, static_cast<std::int32_t>(room)));
            if (needed <= room) {
                keys.resize(start + needed - 1); // without the zero that ends it
                return;
            }
            room = needed;
        }
    }

private:
    // Null when the locale's name is no name or ICU's data cannot be read.
    static UCollator* open(const std::string& identifier)
    {
        UErrorCode status = U_ZERO_ERROR;
        UCollator* collator = ucol_open(identifier.c_str(), &status);
        if (U_FAILURE(status))
            return nullptr;
        // Primary differences only: no case, diacritics or width; but punctuation and spaces do count.
        ucol_setStrength(collator, UCOL_PRIMARY);
        ucol_setAttribute(collator, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
        ucol_setAttribute(collator, UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, &status);
        return collator;
    }

    UCollator* collator_; // without any, texts compare by their bytes
};

} // namespace

std::shared_ptr<const Collation> Collation::finder(const Locale& locale)
{
    static std::mutex mutex;
    static auto& collations =
        *new std::map<std::string, std::shared_ptr<const Collation>>; // for the process's life
    const std::lock_guard lock(mutex);
    auto& collation = collations[locale.identifier()];
    if (!collation)
        collation = std::make_shared<IcuCollation>(locale);
    return collation;
}

} // namespace corvane
