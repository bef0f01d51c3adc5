// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Characters.h>

#include <gmock/gmock.h>
#include <unicode/ubrk.h>
#include <unicode/ustring.h>

#include <random>
#include <string>
#include <vector>

namespace corvane {
namespace {

using testing::ElementsAre;

std::vector<std::string> split(std::string_view text)
{
    std::vector<std::string> result;
    for (const std::string_view character : Characters(text))
        result.emplace_back(character);
    return result;
}

TEST(CharactersTests, AreWhatPeopleSee)
{
    struct Row {
        const char* text;
        Int count;
    };
    const Row rows[] = {
        {"", 0},
        {"abc", 3},
        {"e\u0301a\u0308", 2},                                     // accents
        {"\r\n\n\r", 3},                                           // one line end of two bytes
        {"\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7\U0001F1EB", 3}, // two flags and a half
        {"\U0001F468\u200D\U0001F469\u200D\U0001F467", 1},         // a family
        {"\U0001F44D\U0001F3FD", 1},                               // a skin tone
        {"\u1100\u1161\u11A8\uAC00\u11A8", 2},                     // Hangul, in letters and in syllables
        {"\u0915\u094D\u0937\u093F", 1},                           // a conjunct
        {"\u0600\u0031", 1},                                       // a sign in front of a digit
        {"12345678\u0301", 8},                                     // an accent behind a run of plain bytes
        {"1234567\r\n89", 10},
        {"\u0301a", 2},
        {"\u4E2D\u6587", 2},
    };
    for (const Row& row : rows)
        EXPECT_EQ(characterCount(row.text), row.count) << row.text;
}

TEST(CharactersTests, BytesThatAreNoUtf8StandAlone)
{
    EXPECT_THAT(split("a\xFF\u0301"), ElementsAre("a", "\xFF", "\u0301"));
    EXPECT_THAT(split("\xE2\x82"), ElementsAre("\xE2", "\x82"));            // cut short
    EXPECT_THAT(split("\xC0\x80\xED\xA0\x80"), testing::SizeIs(5));         // too long a form, a surrogate
    EXPECT_THAT(split("\xF4\x90\x80\x80\xF0\x9F\x98"), testing::SizeIs(7)); // beyond the last, cut short
    EXPECT_THAT(split(std::string_view("\0\x80", 2)), ElementsAre(std::string(1, '\0'), "\x80"));
}

// Texts of code points that the rules treat in every way there is, and of plain runs between them.
TEST(CharactersTests, EndWhereTheIteratorOfICUEnds)
{
    const char32_t points[] = {'a',    ' ',    '\r',    '\n',    0,       0xAD,   0x301,  0x308,  0x200D,
                               0x200C, 0xFE0F, 0x1F1E9, 0x1F1EA, 0x600,   0x903,  0x1100, 0x1161, 0x11A8,
                               0xAC00, 0xAC01, 0x1F468, 0x2764,  0x1F3FD, 0xA9,   0x915,  0x937,  0x93C,
                               0x94D,  0x995,  0x9CD,   0xB95,   0xBCD,   0x4E2D, 0xE33,  0xD4E,  0x111C2};
    std::mt19937 random(7);
    UErrorCode status = U_ZERO_ERROR;
    UBreakIterator* const iterator = ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status);
    ASSERT_TRUE(U_SUCCESS(status));
    for (int round = 0; round < 20000; ++round) {
        std::u32string text;
        while (random() % 12 != 0)
            text.append(random() % 30 == 0 ? random() % 20 : 1, points[random() % std::size(points)]);
        std::u16string units;
        std::string bytes;
        std::vector<std::size_t> offsets{0}; // in bytes, of each unit
        for (const char32_t point : text) {
            UChar buffer[3];
            char narrow[5];
            std::int32_t length = 0, size = 0;
            const auto scalar = static_cast<UChar32>(point);
            u_strFromUTF32(buffer, 3, &length, &scalar, 1, &status);
            u_strToUTF8(narrow, 5, &size, buffer, length, &status);
            units.append(buffer, static_cast<std::size_t>(length));
            bytes.append(narrow, static_cast<std::size_t>(size));
            offsets.resize(units.size() + 1, bytes.size());
        }
        ubrk_setText(iterator, units.data(), static_cast<std::int32_t>(units.size()), &status);
        ASSERT_TRUE(U_SUCCESS(status));
        std::vector<std::size_t> expected, found;
        ubrk_first(iterator);
        for (std::int32_t at; (at = ubrk_next(iterator)) != UBRK_DONE;)
            expected.push_back(offsets[static_cast<std::size_t>(at)]);
        for (std::size_t at = 0; at < bytes.size();)
            found.push_back(at = nextCharacterOffset(bytes, at));
        ASSERT_EQ(found, expected) << bytes;
        ASSERT_EQ(characterCount(bytes), static_cast<Int>(expected.size())) << bytes;
        Int half = static_cast<Int>(expected.size() / 2);
        if (half > 0) {
            ASSERT_EQ(skipCharacters(bytes, 0, half), expected[expected.size() / 2 - 1]) << bytes;
            ASSERT_EQ(half, 0);
        }
    }
    ubrk_close(iterator);
}

TEST(CharactersTests, EquivalentIsWhatLooksTheSame)
{
    EXPECT_TRUE(areEquivalent("\u00E9", "e\u0301"));
    EXPECT_TRUE(areEquivalent("\u1EAD", "a\u0323\u0302"));
    EXPECT_TRUE(areEquivalent("\uAC00", "\u1100\u1161"));
    EXPECT_TRUE(areEquivalent("\u212A", "K"));
    EXPECT_TRUE(areEquivalent("\xFF"
                              "e\u0301",
                              "\xFF\u00E9"));
    EXPECT_FALSE(areEquivalent("e", "e\u0301"));
    EXPECT_FALSE(areEquivalent("\uFB01", "fi")); // looks alike, but is only compatible
    EXPECT_FALSE(areEquivalent("\xFF", "\xFE"));
    EXPECT_FALSE(areEquivalent("\xFF", "\uFFFD"));
}

TEST(CharactersTests, CaseAndBlanks)
{
    EXPECT_EQ(lowercased("AZ[\u00C9\xFF\u0130"), "az[\u00E9\xFFi\u0307");
    EXPECT_TRUE(isBlank(""));
    EXPECT_TRUE(isBlank(" \t\n\r\f\v\u0085\u00A0\u1680\u2003\u2028\u2029\u3000"));
    EXPECT_FALSE(isBlank(" \u200B"));
    EXPECT_FALSE(isBlank(" \xA0"));
}

} // namespace
} // namespace corvane
