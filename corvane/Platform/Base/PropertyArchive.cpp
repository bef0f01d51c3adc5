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
        if (at == bytes.size())
            return false;
        const auto head = std::to_integer<unsigned>(bytes[at++]);
        const unsigned major = head >> 5U;
        const unsigned info = head & 31U;
        std::uint64_t argument = info;
        if (info >= 24) {
            const std::size_t size = std::size_t{1} << (info - 24);
            if (info > 27 || bytes.size() - at < size)
                return false;
            argument = 0;
            for (const std::byte byte : bytes.subspan(at, size))
                argument = argument << 8U | std::to_integer<std::uint64_t>(byte);
            at += size;
        }
        if (depth > 0)
            --open[depth - 1];
        switch (major) {
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
            open[depth++] = major == 5 ? argument * 2 : argument;
            break;
        case 7: // truth values and reals
            if (info != 20 && info != 21 && (info < 25 || info > 27))
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

std::optional<PropertyValue> dictionary(Json::object_t map)
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
        return dictionary(std::move(json.get_ref<Json::object_t&>()));
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
    std::vector<std::uint8_t> bytes;
    for (const std::byte byte : selfDescribed)
        bytes.push_back(std::to_integer<std::uint8_t>(byte));
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
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(archive.data());
    return value(Json::from_cbor(bytes, bytes + archive.size(), true, false));
}

} // namespace corvane
