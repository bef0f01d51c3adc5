// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/PropertyArchive.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace corvane {
namespace {

using std::string_literals::operator""s;

Data bytes(std::initializer_list<unsigned> values)
{
    Data data{std::byte{0xd9}, std::byte{0xd9}, std::byte{0xf7}};
    for (const unsigned value : values)
        data.push_back(static_cast<std::byte>(value));
    return data;
}

// Equal in kind too, and a real to the bit.
void expectSame(const PropertyValue& was, const PropertyValue& is)
{
    if (const Number* number = was.asNumber()) {
        ASSERT_NE(is.asNumber(), nullptr);
        EXPECT_EQ(is.asNumber()->kind(), number->kind());
        if (std::isnan(number->doubleValue()))
            EXPECT_TRUE(std::isnan(is.asNumber()->doubleValue()));
        else if (number->isFloatingPoint())
            EXPECT_EQ(std::bit_cast<Int>(is.asNumber()->doubleValue()),
                      std::bit_cast<Int>(number->doubleValue()));
        else
            EXPECT_EQ(*is.asNumber(), *number);
    } else {
        EXPECT_EQ(is, was);
    }
}

PropertyValue nested(Int depth)
{
    PropertyValue value = "core";
    for (Int level = 1; level < depth; ++level)
        value = level % 2 == 0 ? PropertyValue(PropertyArray{value})
                               : PropertyValue(PropertyDictionary{{"", value}});
    return value;
}

TEST(PropertyArchiveTests, EveryKindComesBackAsItWas)
{
    using Ints = std::numeric_limits<Int>;
    using Reals = std::numeric_limits<double>;
    const PropertyValue values[] = {
        true,
        false,
        0,
        -1,
        23,
        24,
        256,
        65536,
        Int{1} << 32,
        Ints::max(),
        Ints::min(),
        0U,
        7U,
        std::uint64_t{Ints::max()},
        std::uint64_t{Ints::max()} + 1,
        std::numeric_limits<std::uint64_t>::max(),
        0.0,
        -0.0,
        0.1,
        1.5,
        Reals::denorm_min(),
        Reals::max(),
        Reals::infinity(),
        -Reals::infinity(),
        Reals::quiet_NaN(),
        0.1F,
        -0.0F,
        std::numeric_limits<float>::infinity(),
        std::nanf(""),
        std::numeric_limits<float>::denorm_min(),
        "",
        "a\0b"s,
        "\xF0\x9F\x8C\x8A \xC3\xA9",
        "\xFF\xC0 no Unicode",
        std::string(70000, 'x'),
        Data{},
        Data(300, std::byte{0xFF}),
        Date(),
        Date(std::chrono::microseconds(-1)),
        Date::min(),
        Date::max(),
        PropertyArray{},
        PropertyArray{1, 1.0F, PropertyArray{"two", Date()}, PropertyDictionary{}},
        PropertyDictionary{},
        PropertyDictionary{{"$date", 1}},
        PropertyDictionary{{"$single", 1.5}, {"$$", 2}},
        PropertyDictionary{{"", "empty"}, {"a\0"s, PropertyArray{true}}, {"$", Data{std::byte{0}}}},
        nested(maximumArchiveDepth)};
    for (const PropertyValue& value : values) {
        const auto archive = archivedData(value);
        ASSERT_TRUE(archive);
        const auto back = unarchivedValue(*archive);
        ASSERT_TRUE(back) << std::size(*archive);
        expectSame(value, *back);
    }
    const PropertyValue list = PropertyArray{-0.0, 3.0F, 3U};
    const PropertyArray back = *unarchivedValue(*archivedData(list))->asArray();
    for (std::size_t i = 0; i < back.size(); ++i)
        expectSame((*list.asArray())[i], back[i]);
}

TEST(PropertyArchiveTests, FormIsTheOneThatIsWrittenDown)
{
    EXPECT_EQ(archivedData(PropertyArray{1, "a", true}), bytes({0x83, 1, 0x61, 'a', 0xf5}));
    EXPECT_EQ(archivedData(Date(std::chrono::microseconds(2))),
              bytes({0xa1, 0x65, '$', 'd', 'a', 't', 'e', 2}));
    EXPECT_EQ(archivedData(PropertyDictionary{{"$", 1U}}),
              bytes({0xa1, 0x62, '$', '$', 0xa1, 0x69, '$', 'u', 'n', 's', 'i', 'g', 'n', 'e', 'd', 1}));
    EXPECT_EQ(unarchivedValue(bytes({0xf9, 0x3c, 0})), PropertyValue(1.0))
        << "a half-precision real of another writer";
}

TEST(PropertyArchiveTests, WhatIsNoArchiveReadsAsAbsent)
{
    EXPECT_FALSE(archivedData(nested(maximumArchiveDepth + 1)));
    EXPECT_FALSE(unarchivedValue({}));
    EXPECT_FALSE(unarchivedValue(DataView(bytes({1})).subspan(3))) << "bare CBOR";
    const Data refused[] = {bytes({}),
                            bytes({1, 1}),
                            bytes({0xf6}),
                            bytes({0xf7}),
                            bytes({0xe0}),
                            bytes({0xff}),
                            bytes({0xc1, 1}),
                            bytes({0x1c}),
                            bytes({0x18}),
                            bytes({0x61}),
                            bytes({0x81}),
                            bytes({0xa1, 0x61, 'a'}),
                            bytes({0xa1, 1, 1}) /* a key that is no text */,
                            bytes({0x9f, 0xff}),
                            bytes({0x7f, 0x61, 'a', 0xff}),
                            bytes({0x3b, 0x80, 0, 0, 0, 0, 0, 0, 0}) /* below the least Int */,
                            bytes({0x9b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}),
                            bytes({0xbb, 0x80, 0, 0, 0, 0, 0, 0, 0}) /* twice that is 0 */,
                            bytes({0x7b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}),
                            bytes({0xa1, 0x62, '$', 'x', 1}),
                            bytes({0xa1, 0x65, '$', 'd', 'a', 't', 'e', 0x61, 'a'}),
                            bytes({0xa2, 0x65, '$', 'd', 'a', 't', 'e', 1, 0x61, 'a', 1})};
    for (const Data& data : refused)
        EXPECT_FALSE(unarchivedValue(data)) << std::size(data) << " bytes from " << int(data.back());
    // As deep as a stack is high, in each of the ways to be deep.
    for (const unsigned opener : {0x81U, 0x7fU, 0x5fU, 0xc1U, 0x9fU, 0xbfU}) {
        Data deep = bytes({});
        deep.resize(5000000, static_cast<std::byte>(opener));
        EXPECT_FALSE(unarchivedValue(deep)) << opener;
    }
}

TEST(PropertyArchiveTests, DamageIsAbsentOrAnotherValueButNeverAStop)
{
    const Data whole = *archivedData(PropertyDictionary{
        {"list", PropertyArray{1, 2.5, "text", Data(20)}}, {"$date", Date()}, {"n", nested(9)}});
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(unarchivedValue(DataView(whole).first(size))) << size;
    std::mt19937 random(1);
    int readable = 0;
    for (int round = 0; round < 20000; ++round) {
        Data damaged = whole;
        for (int flips = 1 + round % 3; flips > 0; --flips)
            damaged[3 + random() % (damaged.size() - 3)] ^= static_cast<std::byte>(1U << random() % 8);
        if (const auto value = unarchivedValue(damaged)) {
            ++readable;
            EXPECT_TRUE(archivedData(*value));
        }
    }
    EXPECT_GT(readable, 0) << "nothing came through to be looked at";
}

struct Grid {
    Int columns;
    PropertyValue propertyValue() const { return PropertyDictionary{{"columns", columns}}; }
    static std::optional<Grid> fromPropertyValue(const PropertyValue& value)
    {
        const PropertyDictionary* fields = value.asDictionary();
        const PropertyValue* columns = fields ? find(*fields, "columns") : nullptr;
        if (columns == nullptr || columns->asNumber() == nullptr)
            return std::nullopt;
        return Grid{columns->asNumber()->intValue()};
    }
};
static_assert(PropertyCodable<Grid> && !PropertyCodable<int>);

TEST(PropertyArchiveTests, HostTypesJoin)
{
    EXPECT_EQ(unarchivedObject<Grid>(*archivedData(Grid{4}))->columns, 4);
    EXPECT_FALSE(unarchivedObject<Grid>(*archivedData("four")));
    EXPECT_FALSE(unarchivedObject<Grid>({}));
}

} // namespace
} // namespace corvane
