// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/PropertyList.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>

namespace corvane {
namespace {

using namespace std::string_literals;

std::optional<PropertyValue> read(std::string_view text)
{
    return readPropertyList(std::as_bytes(std::span(text)));
}

std::string nested(std::size_t depth)
{
    std::string text;
    for (std::size_t i = 0; i < depth; ++i)
        text += "<array>";
    for (std::size_t i = 0; i < depth; ++i)
        text += "</array>";
    return text;
}

TEST(PropertyListTests, ADocumentIsReadWithAllItsKinds)
{
    const auto list = read(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Example//DTD PLIST 1.0//EN" "file:///nowhere/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
    <key>Name</key> <string>Tom &amp; <![CDATA[<Jerry>]]>&#x1F600;</string>
    <key>Empty</key> <string/>
    <key>Flag</key> <true/>
    <key>Bytes</key> <data> AP8
        A/w== </data>
    <key>Moment</key> <date>2024-02-29T23:59:58Z</date>
    <key>List</key> <array> <integer>1</integer> <!-- two --> <real>2.5</real> <dict/> <array/> </array>
    <key>Twice</key> <integer>1</integer>
    <key>Twice</key> <integer>2</integer>
</dict>
</plist>)");
    using namespace std::chrono_literals;
    const PropertyDictionary expected{
        {"Name", "Tom & <Jerry>\U0001F600"},
        {"Empty", ""},
        {"Flag", true},
        {"Bytes", Data{std::byte{0}, std::byte{255}, std::byte{0}, std::byte{255}}},
        {"Moment", Date(std::chrono::sys_days(2024y / 2 / 29) + 23h + 59min + 58s)},
        {"List", PropertyArray{1, 2.5, PropertyDictionary{}, PropertyArray{}}},
        {"Twice", 2},
    };
    ASSERT_TRUE(list);
    EXPECT_EQ(*list, PropertyValue(expected));
}

TEST(PropertyListTests, LeavesAreReadExactlyOrNotAtAll)
{
    struct Row {
        std::string_view text;
        std::optional<PropertyValue> value;
    };
    const Row rows[] = {
        {"<integer>-9223372036854775808</integer>", std::numeric_limits<Int>::min()},
        {"<integer> +7\n</integer>", 7},
        {"<integer>18446744073709551615</integer>", std::numeric_limits<std::uint64_t>::max()},
        {"<integer>0xFF</integer>", 255},
        {"<integer>18446744073709551616</integer>", {}},
        {"<integer>+-1</integer>", {}},
        {"<integer>1.5</integer>", {}},
        {"<integer/>", {}},
        {"<real>-1e-3</real>", -0.001},
        {"<real>inf</real>", std::numeric_limits<double>::infinity()},
        {"<real>1,5</real>", {}},
        {"<date>2023-02-29T00:00:00Z</date>", {}},
        {"<date>2023-02-28T24:00:00Z</date>", {}},
        {"<date>2023-02-28 00:00:00</date>", {}},
        {"<data>AA==</data>", Data{std::byte{0}}},
        {"<data/>", Data{}},
        {"<data>AA=A</data>", {}},
        {"<data>A===</data>", {}},
        {"<data>AAA</data>", {}},
        {"<data>A-AA</data>", {}},
        {"<true>x</true>", {}},
        {"<null/>", {}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(read(row.text), row.value) << row.text;
}

TEST(PropertyListTests, WhatIsNoPropertyListIsAbsent)
{
    const std::string texts[] = {
        "",
        "not xml",
        "\0\0\0\0"s,
        "<plist/>",
        "<plist><dict>",
        "<plist><dict></plist></dict>",
        "<dict><key>a</key></dict>",
        "<dict><key>a</key><key>b</key><true/></dict>",
        "<dict><true/></dict>",
        "<array><key>a</key></array>",
        "<key>a</key>",
        "<plist><true/><true/></plist>",
        "<array><plist/></array>",
        "<array>loose<true/></array>",
        "<string>a<string>b</string></string>",
        "<string>\xff</string>",
        "<string>&missing;</string>",
        "<true/><true/>",
    };
    for (const std::string& text : texts)
        EXPECT_EQ(read(text), std::nullopt) << text;
}

TEST(PropertyListTests, NestingIsBounded)
{
    EXPECT_TRUE(read(nested(256)));
    EXPECT_FALSE(read(nested(257)));
    EXPECT_FALSE(read(nested(1'000'000)));
}

TEST(PropertyListTests, ADocumentThatDeclaresEntitiesIsRefused)
{
    EXPECT_FALSE(read(R"(<!DOCTYPE plist [<!ENTITY a "x">]><string>&a;</string>)"));
    EXPECT_FALSE(read(R"(<!DOCTYPE plist [<!ENTITY a SYSTEM "file:///etc/passwd">]><string>&a;</string>)"));
    std::string bomb = "<!DOCTYPE plist [<!ENTITY e0 \"xxxxxxxxxx\">";
    for (int i = 1; i < 30; ++i) {
        const std::string inner = "&e" + std::to_string(i - 1) + ";";
        bomb += "<!ENTITY e" + std::to_string(i) + " \"" + inner + inner + "\">";
    }
    EXPECT_FALSE(read(bomb + "]><string>&e29;</string>"));
}

TEST(PropertyListTests, LargeTextsCrossSlicesWhole)
{
    const std::string text(3'000'000, 'a');
    const auto list = read("<string>" + text + "\xc3\xa9</string>");
    ASSERT_TRUE(list && list->asString());
    EXPECT_EQ(*list->asString(), text + "\xc3\xa9");
}

} // namespace
} // namespace corvane
