// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/User.h>
#include <corvane/Platform/Text/Characters.h>
#include <corvane/StringsAndText/String.h>

#include <Support/Watchdog.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Strings = std::vector<std::string>;

TEST(StringTests, EmptyAndBlankTextsAreAbsent)
{
    EXPECT_EQ(nonEmptyValue(""), std::nullopt);
    EXPECT_EQ(nonEmptyValue(" "), " ");
    EXPECT_EQ(nonBlankValue(" \n "), std::nullopt);
    EXPECT_EQ(nonBlankValue(""), std::nullopt);
    EXPECT_EQ(nonBlankValue(" a "), " a ");
}

TEST(StringTests, NamesAreCountedOn)
{
    struct Row {
        const char *text, *next;
    };
    const Row rows[] = {
        {"abc", "abc (1)"},
        {"", " (1)"},
        {"Doc (3)", "Doc (4)"},
        {"Doc(3)", "Doc(3) (1)"},
        {"Photo (9)", "Photo (10)"},
        {"Photo (10)", "Photo (10) (1)"},
        {" (3)", " (3) (1)"}, // four characters are too few
        {"a (3)", "a (4)"},
        {"a (x)", "a (x) (1)"},
        {"a (\u0663)", "a (\u0663) (1)"}, // a digit, but not of ours
        {"ab (3)\u0301", "ab (3)\u0301 (1)"},
        {"\u0600 (3)", "\u0600 (3) (1)"}, // the space belongs to the sign before it
        {"\xFF (3)", "\xFF (4)"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(incremented(row.text), row.next);
}

TEST(StringTests, OnlyTheFirstCharacterIsMadeSmall)
{
    EXPECT_EQ(decapitalized("Hello World"), "hello World");
    EXPECT_EQ(decapitalized(""), "");
    EXPECT_EQ(decapitalized("E\u0301TAT"), "e\u0301TAT");
    EXPECT_EQ(decapitalized("\u0130I"), "i\u0307I");
    EXPECT_EQ(decapitalized("\xC9T"), "\xC9T");
}

TEST(StringTests, PrefixesAreReplacedByCharacters)
{
    struct Row {
        const char *text, *prefix;
        bool found;
        const char *replaced, *removed;
    };
    const Row rows[] = {
        {"abab", "ab", true, "-ab", "ab"},
        {"xab", "ab", false, "xab", "xab"},
        {"Ab", "ab", false, "Ab", "Ab"},
        {"ab", "", false, "ab", "ab"},
        {"", "", false, "", ""},
        {"a", "ab", false, "a", "a"},
        {"caf\u00E9!", "cafe\u0301", true, "-!", "!"},
        {"e\u0301a", "e", false, "e\u0301a", "e\u0301a"},
        {"\r\na", "\r", false, "\r\na", "\r\na"},
        {"\xFFz", "\xFF", true, "-z", "z"},
        {"\xFEz", "\xFF", false, "\xFEz", "\xFEz"},
    };
    for (const Row& row : rows) {
        std::string text = row.text;
        EXPECT_EQ(replacePrefix(text, row.prefix, "-"), row.found) << row.text;
        EXPECT_EQ(text, row.replaced);
        EXPECT_EQ(replacingPrefix(row.text, row.prefix, "-"), row.replaced);
        EXPECT_EQ(removedPrefix(row.text, row.prefix), row.removed);
    }
}

TEST(StringTests, TheHomeFolderBecomesATilde)
{
    const std::string home = "/Users/" + userName();
    EXPECT_EQ(abreviatingTildeInPath(home), "~");
    EXPECT_EQ(abreviatingTildeInPath(home + "/Documents"), "~/Documents");
    EXPECT_EQ(abreviatingTildeInPath(home + "e"), "~e");
    std::string other = "/home" + home;
    EXPECT_FALSE(abreviateTildeInPath(other));
    EXPECT_EQ(other, "/home" + home);
}

constexpr const char* mixed = "a\u0301b\U0001F468\u200D\U0001F469\xFFz"; // five characters

TEST(StringTests, PositionsAndEdits)
{
    EXPECT_EQ(startIntIndexToString(mixed, 0), 0U);
    EXPECT_EQ(startIntIndexToString(mixed, 2), 4U);
    EXPECT_EQ(startIntIndexToString(mixed, 5), std::string_view(mixed).size());
    EXPECT_EQ(endIntIndexToString("abc", 1), 2U);
    EXPECT_EQ(endIntIndexToString(mixed, 0), std::string_view(mixed).size());
    EXPECT_EQ(endIntIndexToString(mixed, 5), 0U);
    EXPECT_EQ(rangeToStringRange(mixed, {1, 3}), (StringRange{3, 15}));

    std::string text = mixed;
    EXPECT_EQ(remove(text, 2), "\U0001F468\u200D\U0001F469");
    insert(text, "\u00E9", 4);
    insert(text, "x", 0);
    EXPECT_EQ(text, "xa\u0301b\xFFz\u00E9");
    EXPECT_EQ(removeFirstChar(text), "x");
    removeSubrange(text, {1, 4});
    EXPECT_EQ(text, "a\u0301\u00E9");
    removeSubrange(text, {2, 2});
    EXPECT_EQ(characterCount(text), 2);
}

TEST(StringTests, Substrings)
{
    EXPECT_EQ(substringWith(mixed, {0, 2}), "a\u0301b");
    EXPECT_EQ(substringWith(mixed, {5, 5}), "");
    EXPECT_EQ(substringTo(mixed, 1), "a\u0301");
    EXPECT_EQ(substringFrom(mixed, 3), "\xFFz");
    EXPECT_EQ(substringFrom(mixed, 5), "");
    EXPECT_EQ(safeSubstringTo("abc", 20), "abc");
    EXPECT_EQ(safeSubstringTo(mixed, 2), "a\u0301b");
    EXPECT_EQ(safeSubstringTo("abc", 0), "");
    EXPECT_EQ(safeSubstringFrom("abc", 20), "");
    EXPECT_EQ(safeSubstringFrom(mixed, 4), "z");
}

TEST(StringTests, ReducedTexts)
{
    struct Row {
        const char* text;
        Int width;
        const char *start, *middle, *end;
    };
    const Row rows[] = {
        {"abcdefghij", 6, "...hij", "ab...ij", "abc..."},
        {"abcdefghij", 7, "...ghij", "ab...ij", "abcd..."},
        {"abcdefghij", 3, "...", "...", "..."},
        {"abcdefghij", 10, "abcdefghij", "abcdefghij", "abcdefghij"},
        {"abc", 100, "abc", "abc", "abc"},
        {"e\u0301e\u0301e\u0301e\u0301e\u0301", 4, "...e\u0301", "e\u0301...e\u0301", "e\u0301..."},
        {"e\u0301e\u0301", 2, "e\u0301e\u0301", "e\u0301e\u0301", "e\u0301e\u0301"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(reducedStringAtStart(row.text, row.width), row.start);
        EXPECT_EQ(reducedStringAtMiddle(row.text, row.width), row.middle);
        EXPECT_EQ(reducedStringAtEnd(row.text, row.width), row.end);
    }
    EXPECT_EQ(reducedStringAtMiddle("abcdefghijk", 10), "abcd...hijk"); // eleven wide
    EXPECT_EQ(reducedStringAtMiddle("abc", 2), "...");
    EXPECT_EQ(reducedStringAtStart("", 0), "");
}

TEST(StringTests, ZeroPaddedNumbers)
{
    struct Row {
        Int value, maximum;
        const char* text;
    };
    const Row rows[] = {{7, 100, "007"},
                        {7, 99, "07"},
                        {7, 0, "7"},
                        {7, 9, "7"},
                        {7, 10, "07"},
                        {7, 999, "007"},
                        {123, 9, "123"},
                        {-7, 100, "-07"},
                        {0, 99, "00"},
                        {INT64_MIN, 9, "-9223372036854775808"},
                        {1, INT64_MAX, "0000000000000000001"}};
    for (const Row& row : rows)
        EXPECT_EQ(zeroPadded(row.value, row.maximum), row.text) << row.maximum;
}

// The table itself, cell by cell, and the walk back through it.
std::string tableSubsequence(const std::string& first, const std::string& second)
{
    const auto split = [](const std::string& text) {
        Strings result;
        for (const std::string_view character : Characters(text))
            result.emplace_back(character);
        return result;
    };
    const Strings a = split(first), b = split(second);
    std::vector<std::vector<int>> cell(a.size() + 1, std::vector<int>(b.size() + 1));
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; j < b.size(); ++j)
            cell[i + 1][j + 1] =
                areEquivalent(a[i], b[j]) ? cell[i][j] + 1 : std::max(cell[i][j + 1], cell[i + 1][j]);
    Strings reversed;
    for (std::size_t i = a.size(), j = b.size(); i > 0 && j > 0;) {
        if (cell[i][j] == cell[i][j - 1]) {
            --j;
        } else if (cell[i][j] == cell[i - 1][j]) {
            --i;
        } else {
            reversed.push_back(a[--i]);
            --j;
        }
    }
    std::string result;
    for (auto character = reversed.rbegin(); character != reversed.rend(); ++character)
        result += *character;
    return result;
}

TEST(StringTests, CommonSubsequences)
{
    EXPECT_EQ(commonSubsequence(Strings{}), std::nullopt);
    EXPECT_EQ(commonSubsequence(Strings{"abc"}), "abc");
    EXPECT_EQ(commonSubsequence(Strings{"abcbdab", "bdcaba"}), "bdab");
    EXPECT_EQ(commonSubsequence(Strings{"bdcaba", "abcbdab"}), "bcba");
    EXPECT_EQ(commonSubsequence(Strings{"abc", ""}), "");
    EXPECT_EQ(commonSubsequence(Strings{"abcde", "xbxcxd", "dcb"}), "d");
    EXPECT_EQ(commonSubsequence(Strings{"r\u00E9sum\u00E9", "re\u0301-me\u0301"}), "r\u00E9m\u00E9");
    EXPECT_EQ(commonSubsequence(Strings{"a\xFF\xFE", "\xFE\xFF\uFFFD"}), "\xFE");
}

TEST(StringTests, CommonSubsequencesAreThoseOfTheTable)
{
    const Strings alphabet{"a",          "b",  "c",  "e\u0301", "\u00E9", "\u0301",
                           "\U0001F1E9", "\r", "\n", "\xFF",    "d",      "e"};
    std::mt19937 random(5);
    const auto text = [&](std::size_t letters, std::size_t most) {
        std::string result;
        for (std::size_t left = random() % (most + 1); left > 0; --left)
            result += alphabet[random() % letters];
        return result;
    };
    for (int round = 0; round < 120000; ++round) {
        const std::size_t letters = 1 + random() % alphabet.size();
        // Mostly short; now and then wide and long enough for several tiles.
        const std::size_t most = round % 1000 == 0 ? 900 : 14;
        const std::string a = text(letters, most), b = text(letters, most);
        const auto found = commonSubsequence(Strings{a, b});
        ASSERT_EQ(found, tableSubsequence(a, b)) << a << " and " << b;
        if (round % 16 == 0) {
            const std::string c = text(letters, most);
            ASSERT_EQ(commonSubsequence(Strings{a, b, c}), tableSubsequence(*found, c)) << a << b << c;
        }
    }
    // So wide that a tile has more than one strip of columns.
    std::string few, many;
    while (few.size() < 300)
        few += text(3, 50);
    while (many.size() < 70'000)
        many += text(3, 50);
    EXPECT_EQ(commonSubsequence(Strings{few, many}), tableSubsequence(few, many));
    EXPECT_EQ(commonSubsequence(Strings{many, few}), tableSubsequence(many, few));
}

TEST(StringTests, CommonSubsequencesOfManyDifferentCharacters)
{
    std::string ascending, descending, expected;
    for (char32_t c = 0x4E00; c < 0x4E00 + 12000; ++c) {
        const std::string character{static_cast<char>(0xE0 | c >> 12),
                                    static_cast<char>(0x80 | (c >> 6 & 0x3F)),
                                    static_cast<char>(0x80 | (c & 0x3F))};
        ascending += character;
        descending.insert(0, character);
        expected = expected.empty() ? character : expected;
    }
    EXPECT_EQ(commonSubsequence(Strings{ascending, ascending}), ascending);
    EXPECT_EQ(commonSubsequence(Strings{ascending, "-" + ascending + "-"}), ascending);
    // One column after the other is given up from the right, so the leftmost of the other text is the one.
    EXPECT_EQ(commonSubsequence(Strings{descending, ascending}), expected);
}

TEST(StringTests, CapturesOfEachMatch)
{
    using Captures = std::vector<Strings>;
    EXPECT_EQ(captureMatches("a", "(a)(b)?"), (Captures{{"a"}}));
    EXPECT_EQ(captureMatches("abac", "a"), (Captures{{}, {}}));
    EXPECT_EQ(captureMatches("k1=v1;k2=", "(\\w+)=(\\w*)"), (Captures{{"k1", "v1"}, {"k2", ""}}));
    EXPECT_EQ(captureMatches("xyz", "(q)"), Captures{});
    EXPECT_EQ(captureMatches("ab", ""), (Captures{{}, {}, {}}));
    EXPECT_EQ(captureMatches("", "()"), (Captures{{""}}));
    EXPECT_EQ(captureMatches("ab\nc", "^(.)|(.)$"), (Captures{{"a"}, {"c"}}));
    EXPECT_EQ(captureMatches("\u00E9t\u00E9", "(.)"), (Captures{{"\u00E9"}, {"t"}, {"\u00E9"}}));
    EXPECT_EQ(captureMatches("a\xFF"
                             "b",
                             "(.)"),
              (Captures{{"a"}, {"\xFF"}, {"b"}}));
}

TEST(StringTests, CapturesSearchAsManyUnitsAsThereAreCharacters)
{
    using Captures = std::vector<Strings>;
    EXPECT_EQ(captureMatches("\U0001F600ab", "([ab])"), (Captures{{"a"}})); // four units, three characters
    EXPECT_EQ(captureMatches("e\u0301x", "(x)"), Captures{});
    EXPECT_EQ(captureMatches("ae\u0301$", "^(.*)$"),
              (Captures{{"ae\u0301"}})); // the range has an end of its own
    // The range ends within the second face: what the group has of it is no text.
    EXPECT_EQ(captureMatches("ab\U0001F600", "(a)(.)(.)"), (Captures{{"a", "b"}}));
    std::string faces;
    for (int i = 0; i < 300; ++i)
        faces += i % 3 == 0 ? "\U0001F600" : "\u00E9";
    const auto found = captureMatches(faces, "(\\P{Script=Latin})");
    EXPECT_THAT(found, SizeIs(75)); // in 225 units of 300 characters' 400
    for (const Strings& captures : found)
        EXPECT_THAT(captures, ElementsAre("\U0001F600"));
}

TEST(StringTests, PatternsThatAreNoneSaySo)
{
    for (const char* pattern : {"(", "a{2,1}", "[z-a]", "\\p{Nothing}", "(?<=a*)b", "*", "\\1"}) {
        testing::internal::CaptureStdout();
        EXPECT_THAT(captureMatches("text", pattern), IsEmpty());
        const std::string line = testing::internal::GetCapturedStdout();
        EXPECT_THAT(line, testing::StartsWith("invalid regex: the pattern")) << pattern;
        EXPECT_EQ(line.find('\n'), line.size() - 1);
    }
}

TEST(StringTests, SearchesThatWouldNotEndAreStopped)
{
    struct Row {
        std::string text;
        const char *pattern, *line;
    };
    const Row rows[] = {
        {std::string(60, 'a') + "!", "(a+)+$", "regex stopped: it took longer than its bound\n"},
        {std::string(30'000'000, 'a'), "(a|b)*c", "regex stopped: it needs more memory than its bound\n"},
    };
    for (const Row& row : rows) {
        testing::internal::CaptureStdout();
        EXPECT_THAT(captureMatches(row.text, row.pattern), IsEmpty());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.line);
    }
}

TEST(StringTests, DeepNestingIsRefusedAndSearchedFor)
{
    const std::size_t depth = 100'000;
    for (const std::string& pattern :
         {std::string(depth, '(') + "a" + std::string(depth, ')'), std::string(depth, '('),
          std::string(depth, '['), "(?<=" + std::string(depth, '(')}) {
        testing::internal::CaptureStdout();
        EXPECT_THAT(captureMatches("a", pattern), IsEmpty());
        EXPECT_THAT(
            testing::internal::GetCapturedStdout(),
            testing::StartsWith("invalid regex: the pattern is nested too deeply, near character 10"));
    }
    const std::string nested = std::string(depth, '(') + std::string(depth, ')');
    EXPECT_THAT(captureMatches(nested, "^(\\(*)(\\)*)$"),
                ElementsAre(ElementsAre(std::string(depth, '('), std::string(depth, ')'))));
}

// What has to hold of a text of any bytes, in every operation.
void expectWhole(const std::string& text)
{
    const Int count = characterCount(text), middle = count / 2;
    ASSERT_LE(count, static_cast<Int>(text.size()));
    EXPECT_EQ(std::string(substringTo(text, middle)).append(substringFrom(text, middle)), text);
    EXPECT_EQ(safeSubstringTo(text, count + 1), text);
    EXPECT_EQ(endIntIndexToString(text, count - middle), startIntIndexToString(text, middle));
    const std::string_view first = substringTo(text, count > 0 ? 1 : 0);
    EXPECT_EQ(removedPrefix(text, first), text.substr(first.size()));
    EXPECT_EQ(incremented(text).substr(0, text.size()), text);
    EXPECT_EQ(decapitalized(text).ends_with(text.substr(first.size())), true);
    if (count > 12) {
        EXPECT_TRUE(reducedStringAtStart(text, 12).ends_with(substringFrom(text, count - 9)));
        EXPECT_TRUE(reducedStringAtEnd(text, 12).starts_with(substringTo(text, 9)));
        const std::string middling = reducedStringAtMiddle(text, 12);
        EXPECT_TRUE(middling.starts_with(substringTo(text, 5)));
        EXPECT_TRUE(middling.ends_with(substringFrom(text, count - 5)));
    }
    std::string edited = text; // what is left may join to other characters
    if (middle < count) {
        EXPECT_EQ(remove(edited, middle), substringWith(text, {middle, middle + 1}));
        edited = text;
    }
    removeSubrange(edited, {0, middle});
    EXPECT_EQ(edited, substringFrom(text, middle));
}

TEST(StringTests, BytesThatAreNoUtf8AreTextInEveryOperation)
{
    std::mt19937 random(9);
    // Pieces that are whole, cut off, overlong, surrogates, beyond the last code point, and joiners among them.
    const Strings pieces{"\xC3",
                         "\xE2\x82",
                         "\xC0\xAF",
                         "\xED\xA0\x80",
                         "\xF4\x90\x80\x80",
                         "\xFF",
                         "\x80",
                         std::string(1, '\0'),
                         "a",
                         "\u0301",
                         "\u200D",
                         "\U0001F468",
                         "\r",
                         "\n",
                         "\u0915\u094D"};
    for (int round = 0; round < 20'000; ++round) {
        std::string text;
        for (std::size_t left = random() % 24; left > 0; --left)
            text += pieces[random() % pieces.size()];
        expectWhole(text);
        EXPECT_EQ(commonSubsequence(Strings{text, "\n" + text}), text);
        std::string captured;
        for (const Strings& captures :
             captureMatches(text, "(?s)(.)")) // as far as the search goes, nothing is lost
            for (const std::string& character : captures)
                captured += character;
        EXPECT_TRUE(text.starts_with(captured)) << testing::PrintToString(text);
        ASSERT_FALSE(testing::Test::HasFailure()) << testing::PrintToString(text);
    }
    EXPECT_THAT(captureMatches("a\xFF", "(\xFE)"), ElementsAre(ElementsAre("\xFF"))); // both read as U+FFFD
}

TEST(StringTests, LongTextsOfAnyBytes)
{
    // Two million bytes, or a hundred where somebody has the time for it.
    const bool isFull = std::getenv("CORVANE_LONG_TESTS") != nullptr;
    const tests::Watchdog watchdog(std::chrono::seconds(isFull ? 600 : 100));
    const std::size_t size = isFull ? 100'000'000 : 2'000'000;
    std::mt19937 random(3);
    std::string noise(size, '\0'), scripts, joined = "a";
    for (char& c : noise)
        c = static_cast<char>(random());
    while (scripts.size() < size)
        scripts += "caf\u00E9 \u4E2D\u6587 e\u0301 \U0001F600 \r\n";
    while (joined.size() < size)
        joined += "\u0301";
    EXPECT_EQ(characterCount(joined), 1);
    EXPECT_GT(captureMatches(scripts, "(\u4E2D)").size(), size / 40);
    for (const std::string& text : {std::string(size, 'a'), noise, scripts, joined}) {
        expectWhole(text);
        EXPECT_TRUE(commonSubsequence(Strings{text, text + "x"}) == text);
    }
}

} // namespace
} // namespace corvane
