// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/PropertyList.h>

#include <expat.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace corvane {

namespace {

constexpr std::size_t maximumDepth = 256;
constexpr std::string_view xmlSpace = " \t\r\n";

std::string_view trimmed(std::string_view text)
{
    const std::size_t start = text.find_first_not_of(xmlSpace);
    return start == text.npos ? std::string_view()
                              : text.substr(start, text.find_last_not_of(xmlSpace) + 1 - start);
}

// The whole of `text` as a `T`, or absent.
template <typename T, typename... Base>
std::optional<T> number(std::string_view text, Base... base)
{
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base...);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

template <typename T>
std::optional<PropertyValue> boxed(std::optional<T> value)
{
    return value ? std::optional<PropertyValue>(std::move(*value)) : std::nullopt;
}

// Decimal, or hexadecimal after "0x"; what no Int holds may still be an unsigned value.
std::optional<PropertyValue> integer(std::string_view text)
{
    text = trimmed(text);
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    if (text.starts_with("0x") || text.starts_with("0X"))
        return boxed(number<std::uint64_t>(text.substr(2), 16));
    if (const auto value = number<Int>(text))
        return *value;
    return boxed(number<std::uint64_t>(text));
}

// "2026-01-31T23:59:59Z", the one form of a date in a property list.
std::optional<PropertyValue> date(std::string_view text)
{
    text = trimmed(text);
    constexpr std::string_view form = "0000-00-00T00:00:00Z";
    const auto fits = [](char c, char f) { return f == '0' ? c >= '0' && c <= '9' : c == f; };
    if (!std::ranges::equal(text, form, fits))
        return std::nullopt;
    const auto part = [text](std::size_t start, std::size_t length) {
        return *number<unsigned>(text.substr(start, length));
    };
    using namespace std::chrono;
    const year_month_day day(year(static_cast<int>(part(0, 4))), month(part(5, 2)),
                             std::chrono::day(part(8, 2)));
    if (!day.ok() || part(11, 2) > 23 || part(14, 2) > 59 || part(17, 2) > 59)
        return std::nullopt;
    return Date(sys_days(day) + hours(part(11, 2)) + minutes(part(14, 2)) + seconds(part(17, 2)));
}

std::optional<PropertyValue> base64(std::string_view text)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Data bytes;
    bytes.reserve(text.size() / 4 * 3);
    unsigned bits = 0;
    std::size_t count = 0;
    std::size_t padding = 0;
    for (const char c : text) {
        if (xmlSpace.find(c) != xmlSpace.npos)
            continue;
        const std::size_t digit = digits.find(c);
        if (c == '=' ? ++padding > 2 : digit == digits.npos || padding > 0)
            return std::nullopt;
        bits = bits << 6 | (c == '=' ? 0U : static_cast<unsigned>(digit));
        if (++count % 4 == 0)
            for (const int shift : {16, 8, 0})
                bytes.push_back(static_cast<std::byte>(bits >> shift & 255U));
    }
    if (count % 4 != 0)
        return std::nullopt;
    bytes.resize(bytes.size() - padding);
    return bytes;
}

class Reader {
public:
    std::optional<PropertyValue> read(DataView xml)
    {
        const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> parser(XML_ParserCreate(nullptr),
                                                                             XML_ParserFree);
        if (!parser)
            return std::nullopt;
        parser_ = parser.get();
        XML_SetUserData(parser_, this);
        XML_SetElementHandler(
            parser_, [](void* self, const XML_Char* name, const XML_Char**) { reader(self).start(name); },
            [](void* self, const XML_Char* name) { reader(self).end(name); });
        XML_SetCharacterDataHandler(parser_, [](void* self, const XML_Char* text, int size) {
            reader(self).characters({text, static_cast<std::size_t>(size)});
        });
        XML_SetEntityDeclHandler(parser_, [](void* self, const XML_Char*, int, const XML_Char*, int,
                                             const XML_Char*, const XML_Char*, const XML_Char*,
                                             const XML_Char*) { reader(self).fail(); });
        // expat counts in int, so large documents go in slices.
        constexpr std::size_t slice = 1 << 20;
        do {
            const DataView piece = xml.first(std::min(slice, xml.size()));
            xml = xml.subspan(piece.size());
            if (XML_Parse(parser_, reinterpret_cast<const char*>(piece.data()),
                          static_cast<int>(piece.size()), xml.empty()) != XML_STATUS_OK)
                return std::nullopt;
        } while (!xml.empty());
        return std::move(result_);
    }

private:
    struct Container {
        bool isDictionary;
        PropertyArray array;
        PropertyDictionary dictionary;
        std::optional<std::string> key;
    };

    static Reader& reader(void* self) { return *static_cast<Reader*>(self); }

    // expat may call once more after it was told to stop: with the end of an empty element.
    void fail()
    {
        failed_ = true;
        XML_StopParser(parser_, XML_FALSE);
    }

    // Whether a value may stand here: once at the top, after a key in a dictionary, anywhere in an array.
    bool admitsValue() const
    {
        if (containers_.empty())
            return !result_;
        return !containers_.back().isDictionary || containers_.back().key;
    }

    void start(std::string_view name)
    {
        const bool isRoot = name == "plist" && !sawElement_;
        sawElement_ = true;
        if (isRoot)
            return;
        const bool isKey = name == "key";
        if (isLeaf_ ||
            (isKey ? containers_.empty() || !containers_.back().isDictionary || containers_.back().key
                   : !admitsValue()))
            return fail();
        if (name == "dict" || name == "array") {
            if (containers_.size() == maximumDepth)
                return fail();
            containers_.push_back({name == "dict", {}, {}, {}});
        } else {
            isLeaf_ = true; // an unknown name fails at its end
            text_.clear();
        }
    }

    void characters(std::string_view text)
    {
        if (isLeaf_)
            text_ += text;
        else if (!trimmed(text).empty())
            fail();
    }

    void end(std::string_view name)
    {
        if (failed_)
            return;
        if (!isLeaf_) {
            if (name != "plist")
                endContainer();
            return;
        }
        isLeaf_ = false;
        if (name == "key") {
            containers_.back().key = std::move(text_);
            text_.clear();
        } else if (auto value = leaf(name)) {
            add(std::move(*value));
        } else {
            fail();
        }
    }

    void endContainer()
    {
        Container done = std::move(containers_.back());
        containers_.pop_back();
        if (done.key)
            return fail();
        if (done.isDictionary)
            add(std::move(done.dictionary));
        else
            add(std::move(done.array));
    }

    std::optional<PropertyValue> leaf(std::string_view name)
    {
        if (name == "string")
            return std::exchange(text_, {});
        if (name == "integer")
            return integer(text_);
        if (name == "real")
            return boxed(number<double>(trimmed(text_)));
        if (name == "date")
            return date(text_);
        if (name == "data")
            return base64(text_);
        if ((name == "true" || name == "false") && trimmed(text_).empty())
            return name == "true";
        return std::nullopt;
    }

    void add(PropertyValue value)
    {
        if (containers_.empty()) {
            result_ = std::move(value);
            return;
        }
        Container& container = containers_.back();
        if (container.isDictionary)
            container.dictionary.insert_or_assign(*std::exchange(container.key, std::nullopt),
                                                  std::move(value));
        else
            container.array.push_back(std::move(value));
    }

    XML_Parser parser_ = nullptr;
    std::vector<Container> containers_;
    std::string text_;
    bool isLeaf_ = false;
    bool sawElement_ = false;
    bool failed_ = false;
    std::optional<PropertyValue> result_;
};

} // namespace

std::optional<PropertyValue> readPropertyList(DataView xml)
{
    return Reader().read(xml);
}

} // namespace corvane
