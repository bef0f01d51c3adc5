// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Text/Characters.h>
#include <corvane/Platform/Text/Format.h>

#include <locale.h>
#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>
#include <unicode/numberformatter.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace corvane {

namespace {

constexpr int largestNumber = 1000;

// A width or a precision: none, written out, or an argument.
struct Extent {
    int value = -1;
    int argument = -1;
};

struct Placeholder {
    int argument = -1; // -1 for "%%"
    std::string flags;
    Extent width, precision;
    char conversion = '%';

    bool has(char flag) const { return flags.find(flag) != flags.npos; }
    PlaceholderKind kind() const
    {
        if (std::string_view("dioxXuc").find(conversion) != std::string_view::npos)
            return PlaceholderKind::integer;
        return conversion == 's' || conversion == '@' ? PlaceholderKind::text : PlaceholderKind::real;
    }
};

class Reader {
public:
    explicit Reader(std::string_view format) : rest_(format) {}

    // The text up to the next placeholder.
    std::string_view plain()
    {
        const std::string_view text = rest_.substr(0, rest_.find('%'));
        rest_.remove_prefix(text.size());
        return text;
    }
    bool isAtEnd() const { return rest_.empty(); }

    // Absent when the grammar is broken.
    std::optional<Placeholder> placeholder()
    {
        rest_.remove_prefix(1);
        Placeholder result;
        if (take('%'))
            return result;
        result.argument = position();
        while (!rest_.empty() && std::string_view("-+ #0'").find(rest_.front()) != std::string_view::npos)
            result.flags += next();
        result.width = extent();
        if (take('.')) {
            result.precision = extent();
            if (result.precision.value < 0 && result.precision.argument < 0)
                result.precision.value = 0;
        }
        while (!rest_.empty() && std::string_view("hlqLjzt").find(rest_.front()) != std::string_view::npos)
            next();
        result.conversion = rest_.empty() ? '\0' : next();
        if (result.argument < 0)
            result.argument = following_++;
        if (isBroken_ ||
            std::string_view("dioxXucfFeEgGaAs@").find(result.conversion) == std::string_view::npos)
            return std::nullopt;
        return result;
    }

private:
    char next()
    {
        const char c = rest_.front();
        rest_.remove_prefix(1);
        return c;
    }
    bool take(char c)
    {
        const bool isThere = rest_.starts_with(c);
        rest_.remove_prefix(isThere);
        return isThere;
    }
    int number()
    {
        int value = -1;
        while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
            value = std::max(value, 0) * 10 + (next() - '0');
            isBroken_ |= value > largestNumber;
            value = std::min(value, largestNumber);
        }
        return value;
    }
    // "2$", from 0; -1 where there is none.
    int position()
    {
        const std::string_view before = rest_;
        const int value = number();
        if (value > 0 && take('$'))
            return value - 1;
        rest_ = before;
        return -1;
    }
    Extent extent()
    {
        if (!take('*'))
            return {number(), -1};
        const int argument = position();
        return {-1, argument < 0 ? following_++ : argument};
    }

    std::string_view rest_;
    int following_ = 0;
    bool isBroken_ = false;
};

// How a locale writes numbers.
class Signs {
public:
    explicit Signs(const Locale& locale)
    {
        if (locale == Locale())
            return;
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<icu::NumberFormat> format(
            icu::NumberFormat::createInstance(icu::Locale(locale.identifier().c_str()), status));
        const auto* decimal =
            U_SUCCESS(status) ? dynamic_cast<const icu::DecimalFormat*>(format.get()) : nullptr;
        if (!decimal)
            return;
        const icu::DecimalFormatSymbols* const symbols = decimal->getDecimalFormatSymbols();
        decimal_.clear();
        symbols->getSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol).toUTF8String(decimal_);
        symbols->getSymbol(icu::DecimalFormatSymbols::kGroupingSeparatorSymbol).toUTF8String(group_);
        first_ = decimal->isGroupingUsed() ? decimal->getGroupingSize() : 0;
        later_ = decimal->getSecondaryGroupingSize() > 0 ? decimal->getSecondaryGroupingSize() : first_;
        // Some languages leave four digits together; the format does not tell, but shows.
        const icu::UnicodeString thousand =
            icu::number::NumberFormatter::withLocale(icu::Locale(locale.identifier().c_str()))
                .formatInt(1000, status)
                .toString(status);
        least_ = thousand.length() > 4 ? 1 : 2;
    }

    // A number as printf writes it, with the locale's signs.
    std::string localized(std::string_view number, bool isGrouped) const
    {
        const std::size_t begin = std::min(number.find_first_of("0123456789"), number.size());
        const std::size_t end = std::min(number.find_first_not_of("0123456789", begin), number.size());
        std::string result(number.substr(0, begin));
        const auto digits = static_cast<int>(end - begin);
        isGrouped = isGrouped && first_ > 0 && digits >= first_ + least_;
        for (int i = 0; i < digits; ++i) {
            const int left = digits - i;
            if (isGrouped && i > 0 && (left == first_ || (left > first_ && (left - first_) % later_ == 0)))
                result += group_;
            result += number[begin + static_cast<std::size_t>(i)];
        }
        std::string_view rest = number.substr(end);
        if (const std::size_t point = rest.find('.'); point != rest.npos) {
            result.append(rest.substr(0, point)).append(decimal_);
            rest.remove_prefix(point + 1);
        }
        return result.append(rest);
    }

private:
    std::string decimal_ = ".", group_;
    int first_ = 0, later_ = 0,
        least_ = 1; // digits of the group before the decimal sign, of the others, in front
};

// Digits come from printf itself, in a locale of its own whatever the program has set.
template <typename T>
std::string print(const std::string& format, int precision, T value)
{
    static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
    const locale_t before = ::uselocale(plain);
    const int size = std::snprintf(nullptr, 0, format.c_str(), precision, value);
    std::string text(static_cast<std::size_t>(std::max(size, 0)) + 1, '\0');
    std::snprintf(text.data(), text.size(), format.c_str(), precision, value);
    ::uselocale(before);
    text.pop_back();
    return text;
}

class Formatter {
public:
    Formatter(std::span<const FormatArgument> arguments, const Locale& locale)
        : arguments_(arguments), signs_(locale)
    {}

    void append(std::string& out, Placeholder placeholder) const
    {
        if (placeholder.argument < 0) {
            out += '%';
            return;
        }
        int width = resolved(placeholder.width);
        if (width < 0 && placeholder.width.argument >= 0) { // as printf has it
            placeholder.flags += '-';
            width = -width;
        }
        const std::string text = textFor(placeholder, resolved(placeholder.precision));
        const auto missing = std::max<Int>(width - characterCount(text), 0);
        const auto padding = static_cast<std::size_t>(missing);
        if (placeholder.has('-')) {
            out.append(text).append(padding, ' ');
        } else if (padsWithZeros(placeholder, text)) {
            std::size_t sign =
                text.starts_with('-') || text.starts_with('+') || text.starts_with(' ') ? 1 : 0;
            if (std::string_view("xXaA").find(placeholder.conversion) != std::string_view::npos &&
                (text.find("0x") == sign || text.find("0X") == sign))
                sign += 2;
            out.append(text, 0, sign).append(padding, '0').append(text, sign);
        } else {
            out.append(padding, ' ').append(text);
        }
    }

private:
    static bool padsWithZeros(const Placeholder& placeholder, std::string_view text)
    {
        if (!placeholder.has('0') || placeholder.kind() == PlaceholderKind::text ||
            placeholder.conversion == 'c')
            return false;
        if (placeholder.kind() == PlaceholderKind::real) // neither infinity nor what is no number
            return text.find_first_of("0123456789") != text.npos;
        return placeholder.precision.value < 0 && placeholder.precision.argument < 0;
    }

    const FormatArgument& argument(int position) const
    {
        precondition(static_cast<std::size_t>(position) < arguments_.size(),
                     "A localized text asks for an argument that it is not given");
        return arguments_[static_cast<std::size_t>(position)];
    }

    int resolved(const Extent& extent) const
    {
        if (extent.argument < 0)
            return extent.value;
        const auto* const value = std::get_if<std::int64_t>(&argument(extent.argument).value());
        precondition(value && *value >= -largestNumber && *value <= largestNumber,
                     "A width or precision of a localized text is no number up to 1000");
        return static_cast<int>(*value);
    }

    std::string textFor(const Placeholder& placeholder, int precision) const
    {
        const auto& value = argument(placeholder.argument).value();
        constexpr const char* mismatch =
            "A localized text asks for an argument of another type than it is given";
        std::string flags;
        for (const char flag : {'+', ' ', '#'})
            if (placeholder.has(flag))
                flags += flag;
        const char conversion = placeholder.conversion;
        const bool isGrouped = std::string_view("diufF").find(conversion) != std::string_view::npos;
        switch (placeholder.kind()) {
        case PlaceholderKind::text: {
            const auto* const text = std::get_if<std::string>(&value);
            precondition(text, mismatch);
            if (precision < 0)
                return *text;
            Int characters = precision;
            return text->substr(0, skipCharacters(*text, 0, characters));
        }
        case PlaceholderKind::real: {
            const auto* const number = std::get_if<double>(&value);
            precondition(number, mismatch);
            return signs_.localized(print("%" + flags + ".*" + conversion, precision, *number), isGrouped);
        }
        default: {
            const auto* const whole = std::get_if<std::int64_t>(&value);
            const auto* const natural = std::get_if<std::uint64_t>(&value);
            precondition(whole || natural, mismatch);
            const auto bits = whole ? static_cast<std::uint64_t>(*whole) : *natural;
            if (conversion == 'c')
                return {static_cast<char>(bits)};
            const bool isSigned = conversion == 'd' || conversion == 'i';
            const std::string letters = std::string("ll") + (isSigned && natural ? 'u' : conversion);
            return signs_.localized(print("%" + flags + ".*" + letters, precision, bits), isGrouped);
        }
        }
    }

    std::span<const FormatArgument> arguments_;
    Signs signs_;
};

} // namespace

std::optional<std::vector<std::optional<PlaceholderKind>>> placeholders(std::string_view format)
{
    std::vector<std::optional<PlaceholderKind>> kinds;
    bool isConsistent = true;
    const auto note = [&](int argument, PlaceholderKind kind) {
        if (argument < 0)
            return;
        const auto at = static_cast<std::size_t>(argument);
        kinds.resize(std::max(kinds.size(), at + 1));
        isConsistent &= !kinds[at] || kinds[at] == kind;
        kinds[at] = kind;
    };
    Reader reader(format);
    for (reader.plain(); !reader.isAtEnd(); reader.plain()) {
        const auto placeholder = reader.placeholder();
        if (!placeholder)
            return std::nullopt;
        note(placeholder->width.argument, PlaceholderKind::integer);
        note(placeholder->precision.argument, PlaceholderKind::integer);
        note(placeholder->argument, placeholder->kind());
    }
    return isConsistent ? std::optional(std::move(kinds)) : std::nullopt;
}

std::string formatted(std::string_view format, std::span<const FormatArgument> arguments,
                      const Locale& locale)
{
    const Formatter formatter(arguments, locale);
    Reader reader(format);
    std::string result(reader.plain());
    while (!reader.isAtEnd()) {
        const auto placeholder = reader.placeholder();
        precondition(placeholder.has_value(), "A localized text is no format: a placeholder in it is broken");
        formatter.append(result, *placeholder);
        result += reader.plain();
    }
    return result;
}

} // namespace corvane
