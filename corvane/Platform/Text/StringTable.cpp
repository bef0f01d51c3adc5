// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/StringTable.h>
#include <corvane/Platform/Text/Utf8.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace corvane {

namespace {

// The text of a file in UTF-8, whichever of the encodings it has.
std::string decoded(std::string_view bytes)
{
    constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
    if (bytes.starts_with(utf8Mark))
        return std::string(bytes.substr(utf8Mark.size()));
    // Without a mark the zero in the first unit, which is ASCII, tells: a comment, a quote or a key begins there.
    std::size_t low;
    if (bytes.starts_with("\xFF\xFE") || (bytes.size() >= 2 && bytes[0] != 0 && bytes[1] == 0))
        low = 0;
    else if (bytes.starts_with("\xFE\xFF") || (bytes.size() >= 2 && bytes[0] == 0 && bytes[1] != 0))
        low = 1;
    else
        return std::string(bytes);
    const auto unit = [&](std::size_t i) -> char32_t {
        return static_cast<unsigned char>(bytes[i + low]) |
               static_cast<char32_t>(static_cast<unsigned char>(bytes[i + 1 - low])) << 8U;
    };
    std::string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t value = unit(i);
        if (i == 0 && value == 0xFEFF)
            continue;
        if (value >= 0xD800 && value < 0xDC00 && i + 3 < bytes.size() && unit(i + 2) >= 0xDC00 &&
            unit(i + 2) < 0xE000) {
            value = 0x10000 + ((value - 0xD800) << 10U) + (unit(i + 2) - 0xDC00);
            i += 2;
        }
        detail::appendUtf8(text, value);
    }
    return text;
}

bool isBareKey(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == '-';
}

class Parser {
public:
    explicit Parser(std::string_view text) : text_(text) {}

    // Empty at the end; otherwise the reason why it stopped before, at `line()`.
    std::string readInto(StringTable::Entries& entries)
    {
        for (;;) {
            std::string key, value;
            if (!skipBlanks())
                return "a comment has no end";
            if (at_ == text_.size())
                return {};
            const std::size_t lineOfKey = line();
            if (!readText(key))
                return "there is no key here, or it has no end";
            if (!skipBlanks())
                return "a comment has no end";
            if (!take('='))
                return "a key is not followed by =";
            if (!skipBlanks())
                return "a comment has no end";
            if (at_ == text_.size() || text_[at_] != '"' || !readText(value))
                return "there is no text in quotes here, or it has no end";
            if (!skipBlanks())
                return "a comment has no end";
            if (!take(';'))
                return "an entry is not followed by ;";
            const auto [place, isNew] = entries.try_emplace(std::move(key));
            place->second = {std::move(value), lineOfKey, isNew ? 0 : place->second.line};
        }
    }

    // Of the place where it is, which only moves on between two calls.
    std::size_t line()
    {
        for (; counted_ < at_; ++counted_)
            line_ += text_[counted_] == '\n';
        return line_;
    }

private:
    bool take(char c)
    {
        const bool isThere = at_ < text_.size() && text_[at_] == c;
        at_ += isThere;
        return isThere;
    }

    bool skipBlanks()
    {
        for (;;) {
            at_ = std::min(text_.find_first_not_of(" \t\r\n\f\v", at_), text_.size());
            const std::string_view rest = text_.substr(at_);
            if (rest.starts_with("//")) {
                at_ = std::min(text_.find('\n', at_), text_.size());
            } else if (rest.starts_with("/*")) {
                const std::size_t end = text_.find("*/", at_ + 2);
                if (end == text_.npos)
                    return false;
                at_ = end + 2;
            } else {
                return true;
            }
        }
    }

    bool readText(std::string& out)
    {
        const std::size_t start = at_;
        if (!take('"')) {
            while (at_ < text_.size() && isBareKey(text_[at_]))
                out += text_[at_++];
            return !out.empty();
        }
        while (at_ < text_.size()) {
            const auto point = detail::codePointAt(text_, at_);
            if (detail::isBadByte(point))
                return false;
            if (point.value == '"') {
                ++at_;
                return true;
            }
            if (point.value == '\\') {
                ++at_;
                if (!readEscape(out))
                    return false;
                continue;
            }
            out.append(text_.substr(at_, point.length));
            at_ += point.length;
        }
        at_ = start; // where the quote was opened says more than the end of the file
        return false;
    }

    bool readEscape(std::string& out)
    {
        if (at_ == text_.size())
            return false;
        const char c = text_[at_++];
        constexpr std::string_view names = "ntr\"\\'", values = "\n\t\r\"\\'";
        if (const std::size_t found = names.find(c); found != names.npos) {
            out += values[found];
            return true;
        }
        char32_t unit = 0, second = 0;
        if (c != 'U' || !readUnit(unit))
            return false;
        if (unit >= 0xD800 && unit < 0xDC00 && text_.substr(at_).starts_with("\\U")) {
            const std::size_t back = at_;
            at_ += 2;
            if (!readUnit(second))
                return false;
            if (second >= 0xDC00 && second < 0xE000)
                unit = 0x10000 + ((unit - 0xD800) << 10U) + (second - 0xDC00);
            else
                at_ = back;
        }
        detail::appendUtf8(out, unit);
        return true;
    }

    bool readUnit(char32_t& unit)
    {
        unit = 0;
        for (int digit = 0; digit < 4; ++digit, ++at_) {
            if (at_ == text_.size())
                return false;
            const char c = text_[at_];
            const char lower = static_cast<char>(c | 0x20);
            if (c >= '0' && c <= '9')
                unit = unit << 4U | static_cast<char32_t>(c - '0');
            else if (lower >= 'a' && lower <= 'f')
                unit = unit << 4U | static_cast<char32_t>(lower - 'a' + 10);
            else
                return false;
        }
        return true;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t counted_ = 0, line_ = 1;
};

} // namespace

std::variant<StringTable, StringTable::Damage> StringTable::parse(std::string_view bytes)
{
    const std::string text = decoded(bytes);
    StringTable table;
    Parser parser(text);
    if (std::string reason = parser.readInto(table.entries_); !reason.empty())
        return Damage{parser.line(), std::move(reason)};
    return table;
}

std::variant<StringTable, StringTable::Damage> StringTable::read(const std::string& file)
{
    constexpr std::uintmax_t maximumSize = 64 << 20;
    std::error_code error;
    const bool isFile = std::filesystem::is_regular_file(file, error); // a pipe would make the program wait
    std::ifstream stream;
    if (isFile && std::filesystem::file_size(file, error) <= maximumSize)
        stream.open(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream.is_open() || stream.bad())
        return Damage{1, "the string table cannot be read"};
    return parse(bytes);
}

const std::string* StringTable::find(std::string_view key) const
{
    const auto found = entries_.find(key);
    return found == entries_.end() ? nullptr : &found->second.text;
}

} // namespace corvane
