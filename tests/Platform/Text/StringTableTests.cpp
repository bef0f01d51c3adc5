// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/StringTable.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

StringTable tableOf(std::string_view bytes)
{
    auto parsed = StringTable::parse(bytes);
    const auto* const table = std::get_if<StringTable>(&parsed);
    EXPECT_TRUE(table);
    return table ? *table : StringTable();
}

TEST(StringTableTests, EntriesCommentsAndEscapes)
{
    const auto table = tableOf("/* one */ \"a\" = \"1\"; // two\n"
                               "key.of_a-kind=\"x /* no comment */ // nor this\";"
                               "\"a\"/**/=/**/\"later\"/**/;\n"
                               "\"q\\\"\\\\\" = \"\\n\\t\\r\\'\\U00e9\\UD83D\\UDE00\\UD83D\";");
    EXPECT_EQ(table.entries().size(), 3U);
    EXPECT_EQ(*table.find("a"), "later");
    EXPECT_EQ(*table.find("key.of_a-kind"), "x /* no comment */ // nor this");
    EXPECT_EQ(*table.find("q\"\\"), "\n\t\r'\u00E9\U0001F600\uFFFD");
    EXPECT_EQ(table.find("missing"), nullptr);
    EXPECT_TRUE(tableOf("").entries().empty());
}

TEST(StringTableTests, EncodingsOfOneTable)
{
    const std::u16string units = u"\"k\" = \"\u00E9\U0001F600\";";
    for (const bool isBig : {false, true})
        for (const bool hasMark : {false, true}) {
            std::string bytes;
            for (const char16_t unit : (hasMark ? u"\uFEFF" : u"") + units) {
                bytes += static_cast<char>(isBig ? unit >> 8 : unit & 0xFF);
                bytes += static_cast<char>(isBig ? unit & 0xFF : unit >> 8);
            }
            EXPECT_EQ(*tableOf(bytes).find("k"), "\u00E9\U0001F600");
        }
    EXPECT_EQ(*tableOf("\xEF\xBB\xBFk=\"\u00E9\";").find("k"), "\u00E9");
}

TEST(StringTableTests, DamageIsFoundWhereItIs)
{
    struct Row {
        const char* text;
        std::size_t line;
    };
    const Row rows[] = {{"a = \"1\";\nb \"2\";", 2},
                        {"a = \"1\"\n\nb = \"2\";", 3},
                        {"a = b;", 1},
                        {"\na = \"1;\n\n", 2},
                        {"a = \"\\x\";", 1},
                        {"\n/* a", 2},
                        {"a = \"\xFF\";", 1},
                        {"a = \"\\U12", 1},
                        {"a", 1},
                        {"\"a\" = \"1\";\n;", 2}};
    for (const Row& row : rows) {
        const auto parsed = StringTable::parse(row.text);
        const auto* const damage = std::get_if<StringTable::Damage>(&parsed);
        ASSERT_TRUE(damage) << row.text;
        EXPECT_EQ(damage->line, row.line) << row.text;
        EXPECT_FALSE(damage->description.empty());
    }
}

} // namespace
} // namespace corvane
