// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/PropertyArchive.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace corvane {

namespace {

using Json = nlohmann::json;

constexpr std::array selfDescribed = {std::byte{0xd9}, std::byte{0xd9}, std::byte{0xf7}};
constexpr std::string_view dateKey = "$date";
constexpr std::string_view singleKey = "$single";
constexpr std::string_view unsignedKey = "$unsigned";

Json special(std::string_view kind, Json value)
{
    Json::object_t map;
    map.emplace(kind, std::move(value));
    return map;
}

Json json(const Number& number)
{
    switch (number.kind()) {
    case Number::Kind::boolean:
        return number.boolValue();
    case Number::Kind::integer:
        return number.intValue();
    case Number::Kind::unsignedInteger:
        if (number.unsignedValue() > std::uint64_t{std::numeric_limits<Int>::max()})
            return number.unsignedValue();
        return special(unsignedKey, number.unsignedValue());
    case Number::Kind::single:
        return special(singleKey, number.doubleValue());
    case Number::Kind::real:
        break;
    }
    return number.doubleValue();
}

// Absent when more than `room` values stand inside one another.
std::optional<Json> json(const PropertyValue& value, Int room)
{
    if (room <= 0)
        return std::nullopt;
    if (const Number* number = value.asNumber())
        return json(*number);
    if (const std::string* text = value.asString())
        return *text;
    if (const Date* date = value.asDate())
        return special(dateKey, date->time_since_epoch().count());
    if (const Data* data = value.asData()) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(data->data());
        return Json::binary(Json::binary_t::container_type(bytes, bytes + data->size()));
    }
    if (const PropertyArray* array = value.asArray()) {
        Json::array_t result;
        for (const PropertyValue& element : *array) {
            std::optional<Json> inner = json(element, room - 1);
            if (!inner)
                return std::nullopt;
            result.push_back(std::move(*inner));
        }
        return result;
    }
    Json::object_t result;
    for (const auto& [key, element] : *value.asDictionary()) {
        std::optional<Json> inner = json(element, room - 1);
        if (!inner)
            return std::nullopt;
        result.emplace(key.starts_with('$') ? '$' + key : key, std::move(*inner));
    }
    return result;
}

// The first byte of an item and what follows it: the number itself, or how long or how many.
struct Head {
    unsigned major;
    unsigned info;
    std::uint64_t argument;
};

// Absent for bytes that are cut off and for the kinds of heads that are not written here.
std::optional<Head> readHead(DataView bytes, std::size_t& at)
{
    if (at == bytes.size())
        return std::nullopt;
    const auto first = std::to_integer<unsigned>(bytes[at++]);
    Head head{first >> 5U, first & 31U, first & 31U};
    if (head.info >= 24) {
        const std::size_t size = std::size_t{1} << (head.info - 24);
        if (head.info > 27 || bytes.size() - at < size)
            return std::nullopt;
        head.argument = 0;
        for (const std::byte byte : bytes.subspan(at, size))
            head.argument = head.argument << 8U | std::to_integer<std::uint64_t>(byte);
        at += size;
    }
    return head;
}

// Walks the items without recursion: the reader behind goes down the stack with nesting, and with strings in
// pieces, as deep as the bytes say, takes declared lengths on trust in places, and lets integers wrap. What it
// is given has been seen to be whole, shallow, and of the kinds that are written here.
bool isWellFormed(DataView bytes)
{
    std::array<std::uint64_t, maximumArchiveDepth + 1>
        open{}; // items still to come; one more level for a special
    std::size_t depth = 0;
    std::size_t at = 0;
    do {
        const std::optional<Head> head = readHead(bytes, at);
        if (!head)
            return false;
        const std::uint64_t argument = head->argument;
        if (depth > 0)
            --open[depth - 1];
        switch (head->major) {
        case 0:
            break;
        case 1:
            if (argument > std::uint64_t{std::numeric_limits<Int>::max()})
                return false;
            break;
        case 2:
        case 3:
            if (argument > bytes.size() - at)
                return false;
            at += argument;
            break;
        case 4:
        case 5: // an item takes a byte at least, so more cannot come
            if (argument > bytes.size() - at || depth == open.size())
                return false;
            open[depth++] = head->major == 5 ? argument * 2 : argument;
            break;
        case 7: // truth values and reals
            if (head->info != 20 && head->info != 21 && (head->info < 25 || head->info > 27))
                return false;
            break;
        default:
            return false;
        }
        while (depth > 0 && open[depth - 1] == 0)
            --depth;
    } while (depth > 0);
    return at == bytes.size();
}

// Most settings are a number, a truth value or a text: these need no tree. Absent for the others.
std::optional<PropertyValue> plainValue(DataView wellFormed)
{
    std::size_t at = 0;
    const std::optional<Head> head = readHead(wellFormed, at);
    if (head->major == 0 && std::in_range<Int>(head->argument))
        return static_cast<Int>(head->argument);
    if (head->major == 1)
        return -1 - static_cast<Int>(head->argument);
    if (head->major == 3)
        return std::string(reinterpret_cast<const char*>(wellFormed.data() + at), wellFormed.size() - at);
    if (head->major == 7 && head->info <= 21)
        return head->info == 21;
    return std::nullopt;
}

std::optional<PropertyValue> value(Json json);

std::optional<PropertyValue> specialValue(const std::string& kind, const Json& held)
{
    if (kind == dateKey && held.is_number_integer()) {
        const Number count =
            held.is_number_unsigned() ? Number(held.get<std::uint64_t>()) : Number(held.get<Int>());
        if (const auto microseconds = count.exactInt())
            return Date(Date::duration(*microseconds));
    }
    if (kind == singleKey && held.is_number_float())
        return static_cast<float>(held.get<double>());
    if (kind == unsignedKey && held.is_number_unsigned())
        return held.get<std::uint64_t>();
    return std::nullopt;
}

std::optional<PropertyValue> dictionary(Json::object_t& map)
{
    PropertyDictionary result;
    for (auto& [key, held] : map) {
        std::string_view name = key;
        if (name.starts_with('$')) {
            name.remove_prefix(1);
            if (!name.starts_with('$'))
                return map.size() == 1 ? specialValue(key, held) : std::nullopt;
        }
        std::optional<PropertyValue> inner = value(std::move(held));
        if (!inner)
            return std::nullopt;
        result.emplace_hint(result.end(), name, std::move(*inner));
    }
    return result;
}

std::optional<PropertyValue> value(Json json)
{
    switch (json.type()) {
    case Json::value_t::boolean:
        return json.get<bool>();
    case Json::value_t::number_integer:
        return json.get<Int>();
    case Json::value_t::number_float:
        return json.get<double>();
    case Json::value_t::string:
        return std::move(json.get_ref<std::string&>());
    case Json::value_t::object:
        return dictionary(json.get_ref<Json::object_t&>());
    case Json::value_t::number_unsigned: {
        const auto number = json.get<std::uint64_t>();
        if (std::in_range<Int>(number))
            return static_cast<Int>(number);
        return number;
    }
    case Json::value_t::binary: {
        const auto& bytes = json.get_binary();
        const auto* data = reinterpret_cast<const std::byte*>(bytes.data());
        return Data(data, data + bytes.size());
    }
    case Json::value_t::array: {
        PropertyArray result;
        for (Json& element : json.get_ref<Json::array_t&>()) {
            std::optional<PropertyValue> inner = value(std::move(element));
            if (!inner)
                return std::nullopt;
            result.push_back(std::move(*inner));
        }
        return result;
    }
    case Json::value_t::null:
    case Json::value_t::discarded:
        break;
    }
    return std::nullopt;
}

} // namespace

std::optional<Data> archivedData(const PropertyValue& value)
{
    const std::optional<Json> tree = json(value, maximumArchiveDepth);
    if (!tree)
        return std::nullopt;
    const auto* prefix = reinterpret_cast<const std::uint8_t*>(selfDescribed.data());
    std::vector<std::uint8_t> bytes(prefix, prefix + selfDescribed.size());
    Json::to_cbor(*tree, bytes);
    const auto* data = reinterpret_cast<const std::byte*>(bytes.data());
    return Data(data, data + bytes.size());
}

std::optional<PropertyValue> unarchivedValue(DataView archive)
{
    if (archive.size() < selfDescribed.size() ||
        !std::ranges::equal(archive.first(selfDescribed.size()), selfDescribed))
        return std::nullopt;
    archive = archive.subspan(selfDescribed.size());
    if (!isWellFormed(archive))
        return std::nullopt;
    if (std::optional<PropertyValue> plain = plainValue(archive))
        return plain;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(archive.data());
    return value(Json::from_cbor(bytes, bytes + archive.size(), true, false));
}

} // namespace corvane
