// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Collation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace corvane {
namespace {

using enum ComparisonResult;

const Collation& root()
{
    static const auto collation = Collation::finder(Locale());
    return *collation;
}

std::vector<unsigned char> sortKey(const Collation& collation, std::string_view text)
{
    std::vector<unsigned char> key;
    collation.appendSortKey(text, key);
    return key;
}

ComparisonResult compareKeys(const Collation& collation, std::string_view a, std::string_view b)
{
    const auto order = sortKey(collation, a) <=> sortKey(collation, b);
    return order < 0 ? ascending : order > 0 ? descending : same;
}

std::string digits(std::size_t count, char digit)
{
    return std::string(count, digit);
}

TEST(Collation, ComparesAsAFileBrowserDoes)
{
    struct Row {
        std::string a;
        std::string b;
        ComparisonResult result;
    };
    const Row rows[] = {
        {"", "", same},
        {"", "a", ascending},
        {"file2", "File10", ascending},
        {"FILE", "file", same},
        {"résumé", "RESUME", same},
        {"re\u0301sume\u0301", "résumé", same},
        {"ＡＢＣ１２", "abc12", same},
        {"a-b", "ab", ascending}, // punctuation counts
        {"a b", "ab", ascending},
        {"a b", "a_b", ascending},
        {"007", "7", same},
        {"img007a", "img7b", ascending},
        {"٢", "10", ascending}, // digits of any script
        {"1.10", "1.9", descending},
        {"9", "a", ascending},
        {"-9", "9", ascending},
        {"日本", "中国", descending},
        {"strasse", "straße", same},
        {"\xFF", "\xFE", same}, // neither is UTF-8
        {"a\xFF", "a", descending},
        {"a\xFFx", "a\xFFy", ascending},
        {"a\xE2\x82", "a\xF0\x9F", same},
        {std::string("a\0b", 3), "ab", same},
    };
    for (const auto& [a, b, result] : rows) {
        EXPECT_EQ(root().compare(a, b), result) << a << " against " << b;
        EXPECT_EQ(root().compare(b, a), static_cast<ComparisonResult>(-static_cast<int>(result)))
            << b << " against " << a;
        EXPECT_EQ(compareKeys(root(), a, b), result) << a << " against " << b;
    }
}

TEST(Collation, ComparesNumbersOfAnyLengthByValue)
{
    // Ascending; each is also preceded by zeros, and in the digits of another script.
    std::vector<std::string> numbers{"0", "1", "2", "10"};
    for (const std::size_t count : {253U, 254U, 255U, 256U, 508U, 509U, 1000U, 1001U, 5000U})
        for (const char* tail : {"0", "1", "9"})
            numbers.push_back("1" + digits(count - 2, tail[0]) + "5");
    for (const std::size_t position : {254U, 255U, 700U, 999U}) { // one digit makes the difference
        std::string number = "2" + digits(999, '0');
        number[position] = '1';
        numbers.push_back(number);
    }
    std::ranges::sort(numbers, {},
                      [](const std::string& number) { return std::pair(number.size(), number); });
    const auto inArabic = [](const std::string& number) {
        std::string text;
        for (const char digit : number)
            text += std::string("\xD9") + static_cast<char>(0xA0 + (digit - '0'));
        return text;
    };
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        for (std::size_t j = 0; j < numbers.size(); ++j) {
            const auto expected = i < j ? ascending : i > j ? descending : same;
            const std::string a = "v" + numbers[i] + ".txt",
                              b = "V" + digits(i % 3 * 200, '0') + numbers[j] + ".txt";
            ASSERT_EQ(root().compare(a, b), expected) << a << " against " << b;
            ASSERT_EQ(compareKeys(root(), a, b), expected) << a << " against " << b;
            ASSERT_EQ(root().compare(inArabic(numbers[i]), numbers[j]), expected) << i << " against " << j;
        }
        const std::string number = numbers[i];
        EXPECT_EQ(root().compare("v" + number + "a", "v" + number + "b"), ascending);
        EXPECT_EQ(root().compare(number, "a"), ascending);
        EXPECT_EQ(root().compare(number, "_"), descending);
    }
}

TEST(Collation, OrdersAnyBytesTotally)
{
    std::mt19937 random(24);
    // Bits of text that meet in awkward ways: long numbers, cut characters, combining marks, last characters.
    const std::string pieces[] = {"a",
                                  "B",
                                  "1",
                                  "0",
                                  digits(200, '9'),
                                  digits(60, '0'),
                                  "\xFF",
                                  "\xE2\x82",
                                  "é",
                                  "\u0301",
                                  "\uFFFF",
                                  "-",
                                  "ch",
                                  "ß",
                                  "٣",
                                  "\xF0\x9F\x98\x80",
                                  "日",
                                  "\uFFFD"};
    std::vector<std::string> texts;
    for (int i = 0; i < 150; ++i) {
        std::string& text = texts.emplace_back();
        for (auto left = random() % 7; left > 0; --left)
            text += pieces[random() % std::size(pieces)];
    }
    for (const char* name : {"", "de", "cs", "sv", "ja", "not_a_locale"}) {
        const auto collation = Collation::finder(Locale(name));
        const std::vector<std::string_view> views(texts.begin(), texts.end());
        const std::vector<std::size_t> order = collation->sortedOrder(views);
        std::vector<std::vector<unsigned char>> keys;
        for (const std::string& text : texts)
            keys.push_back(sortKey(*collation, text));
        // The comparison is that of the keys for every pair: so it is total, as that of bytes is.
        for (std::size_t i = 0; i < order.size(); ++i) {
            for (std::size_t j = i + 1; j < order.size(); ++j) {
                const std::size_t a = order[i], b = order[j];
                ASSERT_LE(keys[a], keys[b]);
                ASSERT_EQ(collation->compare(texts[a], texts[b]), keys[a] < keys[b] ? ascending : same)
                    << texts[a] << " before " << texts[b];
                ASSERT_TRUE(keys[a] < keys[b] || a < b) << "equal texts keep their order";
            }
        }
    }
}

TEST(Collation, FollowsItsLocale)
{
    EXPECT_EQ(Collation::finder(Locale("sv"))->compare("ö", "z"), descending);
    EXPECT_EQ(Collation::finder(Locale("de"))->compare("ö", "z"), ascending);
    EXPECT_EQ(Collation::finder(Locale("cs"))->compare("ch", "cz"), descending);
    EXPECT_EQ(Collation::finder(Locale("sv")), Collation::finder(Locale("sv")));
}

TEST(Collation, LeavesNoZeroInItsKeys)
{
    for (const std::string& text :
         {std::string(), std::string("a\0b", 3), digits(3000, '0'), std::string("日本\xFF")}) {
        const auto key = sortKey(root(), text);
        EXPECT_EQ(std::ranges::count(key, 0), 0);
    }
}

} // namespace
} // namespace corvane
