// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/TypeIdentifierTable.h>
#include <corvane/Platform/Files/TypeIdentifiers.h>

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <filesystem>
#include <utility>
#include <vector>

namespace corvane::TypeIdentifiers {

namespace {

constexpr char lower(char c) noexcept
{
    return 'A' <= c && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string lower(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char c) { return lower(c); });
    return result;
}

bool equalFolded(std::string_view a, std::string_view b) noexcept
{
    return std::ranges::equal(
        a, b, {}, [](char c) { return lower(c); }, [](char c) { return lower(c); });
}

template <typename Visit>
void forEachPart(std::string_view list, char separator, Visit visit)
{
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(separator), list.size());
        visit(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

// From a text to the number of the declaration that it stands for. Filled once, then only read.
template <bool foldsCase>
class Index {
public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    // The first declaration keeps a text that a later one claims too.
    void insert(std::string_view text, std::size_t declaration)
    {
        if (2 * (count_ + 1) > slots_.size())
            grow();
        Slot& slot = slots_[place(text)];
        if (slot.declaration != npos)
            return;
        slot = {text, declaration};
        ++count_;
    }

    std::size_t find(std::string_view text) const noexcept { return slots_[place(text)].declaration; }

private:
    struct Slot {
        std::string_view text;
        std::size_t declaration = npos;
    };

    std::size_t place(std::string_view text) const noexcept
    {
        std::uint64_t hash = text.size();
        for (const char c : text)
            hash = (hash ^ static_cast<unsigned char>(foldsCase ? lower(c) : c)) * 0x100'0000'01b3U;
        std::size_t at = hash ^ hash >> 29U;
        for (;; ++at) {
            at &= slots_.size() - 1;
            const Slot& slot = slots_[at];
            if (slot.declaration == npos || (foldsCase ? equalFolded(slot.text, text) : slot.text == text))
                return at;
        }
    }

    void grow()
    {
        std::vector<Slot> old(2 * slots_.size());
        old.swap(slots_);
        for (const Slot& slot : old)
            if (slot.declaration != npos)
                slots_[place(slot.text)] = slot;
    }

    std::vector<Slot> slots_ = std::vector<Slot>(256);
    std::size_t count_ = 0;
};

struct Table {
    Index<true> identifiers, extensions, mimeTypes;
    Index<false> osTypes;
    // Row i has the bit of every declaration that declaration i conforms to, itself included.
    std::vector<std::vector<bool>> conformance;

    Table()
    {
        const std::span<const Declaration> all = declarations();
        for (std::size_t i = 0; i < all.size(); ++i) {
            identifiers.insert(all[i].identifier, i);
            forEachPart(all[i].extensions, ' ', [&](std::string_view tag) { extensions.insert(tag, i); });
            forEachPart(all[i].mimeTypes, ' ', [&](std::string_view tag) { mimeTypes.insert(tag, i); });
            forEachPart(all[i].osTypes, ',', [&](std::string_view tag) { osTypes.insert(tag, i); });
        }
        conformance.assign(all.size(), std::vector<bool>(all.size()));
        for (std::size_t i = 0; i < all.size(); ++i)
            climb(i, conformance[i]);
    }

    void climb(std::size_t from, std::vector<bool>& reached) const
    {
        if (reached[from])
            return;
        reached[from] = true;
        forEachPart(declarations()[from].conformsTo, ' ', [&](std::string_view parent) {
            if (const std::size_t i = identifiers.find(parent); i != Index<true>::npos)
                climb(i, reached);
        });
    }

    const Declaration* find(std::string_view identifier) const noexcept
    {
        const std::size_t i = identifiers.find(identifier);
        return i == Index<true>::npos ? nullptr : &declarations()[i];
    }
};

const Table& table()
{
    static const Table made;
    return made;
}

// In the order of TagClass.
struct ClassTraits {
    std::string_view dynamicPrefix;
    std::string_view key;
    std::string_view Declaration::*tags;
    char separator;
};
constexpr std::array<ClassTraits, 3> classes{{
    {"dyn.extension.", "public.filename-extension", &Declaration::extensions, ' '},
    {"dyn.mime.", "public.mime-type", &Declaration::mimeTypes, ' '},
    {"dyn.ostype.", "com.apple.ostype", &Declaration::osTypes, ','},
}};

const ClassTraits& traits(TagClass tagClass)
{
    return classes[static_cast<std::size_t>(tagClass)];
}

bool standsForItself(char c) noexcept
{
    return ('a' <= c && c <= 'z') || ('0' <= c && c <= '9');
}

std::string dynamicIdentifier(TagClass tagClass, std::string_view tag)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result(traits(tagClass).dynamicPrefix);
    for (const char c : tag) {
        if (standsForItself(c)) {
            result += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        result += {'-', digits[byte >> 4U], digits[byte & 15U]};
    }
    return result;
}

struct DynamicTag {
    TagClass tagClass;
    std::string tag;
};

std::optional<DynamicTag> readDynamic(std::string_view identifier)
{
    const std::string text = lower(identifier);
    for (std::size_t i = 0; i < classes.size(); ++i) {
        if (!text.starts_with(classes[i].dynamicPrefix))
            continue;
        const auto digit = [](char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'a' + 10); };
        DynamicTag result{static_cast<TagClass>(i), {}};
        for (std::size_t at = classes[i].dynamicPrefix.size(); at < text.size(); ++at) {
            if (text[at] != '-' || at + 2 >= text.size()) {
                result.tag += text[at];
                continue;
            }
            result.tag += static_cast<char>(digit(text[at + 1]) << 4U | digit(text[at + 2]));
            at += 2;
        }
        // One tag, one identifier: whatever was not written by us does not come out the same.
        if (!result.tag.empty() && dynamicIdentifier(result.tagClass, result.tag) == text)
            return result;
    }
    return std::nullopt;
}

PropertyArray partsOf(std::string_view list, char separator)
{
    PropertyArray parts;
    forEachPart(list, separator, [&](std::string_view part) { parts.emplace_back(part); });
    return parts;
}

} // namespace

std::string_view declaredIdentifierForTag(TagClass tagClass, std::string_view tag) noexcept
{
    const Table& known = table();
    std::size_t found = Index<true>::npos;
    if (tagClass == TagClass::filenameExtension) {
        found = known.extensions.find(tag);
    } else if (tagClass == TagClass::osType) {
        found = known.osTypes.find(tag);
    } else {
        found = known.mimeTypes.find(tag);
        if (found == Index<true>::npos) {
            tag = tag.substr(0, tag.find(';'));
            found = known.mimeTypes.find(tag.substr(0, tag.find_last_not_of(' ') + 1));
        }
    }
    return found == Index<true>::npos ? std::string_view() : declarations()[found].identifier;
}

std::optional<std::string> preferredIdentifierForTag(TagClass tagClass, std::string_view tag)
{
    if (tag.empty() || (tagClass == TagClass::osType && tag.size() != 4))
        return std::nullopt;
    if (const std::string_view declared = declaredIdentifierForTag(tagClass, tag); !declared.empty())
        return std::string(declared);
    return dynamicIdentifier(tagClass, tagClass == TagClass::osType ? std::string(tag) : lower(tag));
}

std::optional<std::string> preferredTag(std::string_view identifier, TagClass tagClass)
{
    if (const Declaration* declared = table().find(identifier)) {
        const std::string_view tags = declared->*traits(tagClass).tags;
        return tags.empty()
                   ? std::nullopt
                   : std::optional<std::string>(tags.substr(0, tags.find(traits(tagClass).separator)));
    }
    std::optional<DynamicTag> dynamic = readDynamic(identifier);
    if (!dynamic || dynamic->tagClass != tagClass)
        return std::nullopt;
    return std::move(dynamic->tag);
}

bool conforms(std::string_view identifier, std::string_view other) noexcept
{
    const Table& known = table();
    const std::size_t to = known.identifiers.find(other);
    const std::size_t from = known.identifiers.find(identifier);
    if (from != Index<true>::npos)
        return to != Index<true>::npos && known.conformance[from][to];
    if (equal(identifier, other))
        return true;
    return (equal(other, "public.data") || equal(other, "public.item")) && isDynamic(identifier);
}

bool equal(std::string_view identifier, std::string_view other) noexcept
{
    return equalFolded(identifier, other);
}

bool isDeclared(std::string_view identifier) noexcept
{
    return table().find(identifier) != nullptr;
}

bool isDynamic(std::string_view identifier)
{
    return readDynamic(identifier).has_value();
}

std::optional<std::string> description(std::string_view identifier)
{
    const Declaration* declared = table().find(identifier);
    return declared == nullptr ? std::nullopt : std::optional<std::string>(declared->description);
}

std::optional<PropertyDictionary> declaration(std::string_view identifier)
{
    PropertyDictionary result;
    PropertyDictionary tags;
    if (const Declaration* declared = table().find(identifier)) {
        result["UTTypeIdentifier"] = declared->identifier;
        result["UTTypeDescription"] = declared->description;
        if (!declared->conformsTo.empty())
            result["UTTypeConformsTo"] = partsOf(declared->conformsTo, ' ');
        for (const ClassTraits& tagClass : classes)
            if (PropertyArray parts = partsOf(declared->*tagClass.tags, tagClass.separator); !parts.empty())
                tags[std::string(tagClass.key)] = std::move(parts);
    } else if (std::optional<DynamicTag> dynamic = readDynamic(identifier)) {
        result["UTTypeIdentifier"] = lower(identifier);
        result["UTTypeConformsTo"] = PropertyArray{"public.data"};
        tags[std::string(traits(dynamic->tagClass).key)] = PropertyArray{std::move(dynamic->tag)};
    } else {
        return std::nullopt;
    }
    if (!tags.empty())
        result["UTTypeTagSpecification"] = std::move(tags);
    return result;
}

std::optional<URL> declaringBundleURL(std::string_view identifier)
{
    Dl_info library{};
    if (!isDeclared(identifier) || ::dladdr(declarations().data(), &library) == 0)
        return std::nullopt;
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(library.dli_fname, error);
    return error ? std::nullopt : std::optional(URL::fromPath(file.parent_path().string() + '/'));
}

std::string stringForOSType(std::uint32_t code)
{
    std::string text(4, '\0');
    for (std::size_t i = 0; i < 4; ++i)
        text[i] = static_cast<char>(code >> (24 - 8 * i));
    return text;
}

std::uint32_t osTypeFromString(std::string_view text) noexcept
{
    if (text.size() != 4)
        return 0;
    std::uint32_t code = 0;
    for (const char c : text)
        code = code << 8U | static_cast<unsigned char>(c);
    return code;
}

} // namespace corvane::TypeIdentifiers
