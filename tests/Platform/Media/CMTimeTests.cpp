// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Media/CMTime.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace corvane {

void PrintTo(const CMTime& time, std::ostream* out)
{
    *out << time.description();
}

namespace {

constexpr Int most = std::numeric_limits<Int>::max();
const CMTime plusInfinity = CMTime::positiveInfinity();
const CMTime minusInfinity = CMTime::negativeInfinity();
const CMTime indefinite = CMTime::indefinite();
const CMTime invalid = CMTime::invalid();

// All fields, not the moment alone.
void expectFields(const CMTime& time, Int value, std::int32_t timescale, bool rounded = false, Int epoch = 0)
{
    EXPECT_EQ(time.value, value);
    EXPECT_EQ(time.timescale, timescale);
    EXPECT_EQ(time.hasBeenRounded(), rounded);
    EXPECT_EQ(time.epoch, epoch);
    EXPECT_TRUE(time.isNumeric());
}

TEST(CMTimeTests, SecondsBecomeTheNearestTickHalvesAwayFromZero)
{
    expectFields(CMTime::makeWithSeconds(2.5, 600), 1500, 600);
    expectFields(CMTime::makeWithSeconds(0.5, 1), 1, 1, true);
    expectFields(CMTime::makeWithSeconds(-0.5, 1), -1, 1, true);
    expectFields(CMTime::makeWithSeconds(1.0 / 3, 1000), 333, 1000, true);
    // 10^13 s times a million ticks need 64 bits and more: the timescale is halved until they fit.
    expectFields(CMTime::makeWithSeconds(1e13, 1000000), 5000000000000000000, 500000);
    expectFields(CMTime::makeWithSeconds(9e18, 3), 9000000000000000000, 1);
    EXPECT_EQ(CMTime::makeWithSeconds(1e19, 600), plusInfinity);
    EXPECT_EQ(CMTime::makeWithSeconds(-1e300, 600), minusInfinity);
    EXPECT_EQ(CMTime::makeWithSeconds(HUGE_VAL, 600), plusInfinity);
    EXPECT_EQ(CMTime::makeWithSeconds(std::nan(""), 600), invalid);
    EXPECT_EQ(CMTime::makeWithSeconds(1, 0), invalid);
    EXPECT_EQ(CMTime::make(1, -600), invalid);

    EXPECT_EQ(CMTime::make(-3, 2).seconds(), -1.5);
    EXPECT_EQ(minusInfinity.seconds(), -HUGE_VAL);
    EXPECT_TRUE(std::isnan(indefinite.seconds()) && std::isnan(invalid.seconds()));
}

TEST(CMTimeTests, SumsAreExactInTheCommonTimescale)
{
    expectFields(CMTime::make(1, 600) + CMTime::make(1, 1000), 8, 3000);
    expectFields(CMTime::make(1001, 30000) - CMTime::make(1, 25), -199, 30000);
    expectFields(CMTime::make(most, 1) - CMTime::make(most, 1), 0, 1);
    // Timescales without a common one that fits: the finest there is, rounded, and the mark goes on.
    const CMTime coarse = CMTime::make(1, 2147483647) + CMTime::make(1, 2147483646);
    expectFields(coarse, 2, 2147483647, true);
    EXPECT_TRUE((coarse + CMTime::make(1, 1)).hasBeenRounded());
    // Ticks that do not fit: a timescale that halves.
    expectFields(CMTime::make(most, 600) + CMTime::make(most, 600), most, 300);
    expectFields(CMTime::make(most, 4) + CMTime::make(1, 4), 4611686018427387904, 2);
    EXPECT_EQ(CMTime::make(most, 1) + CMTime::make(1, 1), plusInfinity);
    EXPECT_EQ(CMTime::make(-most, 1) - CMTime::make(2, 1), minusInfinity);
}

TEST(CMTimeTests, SumsOfOtherThanNumericTimes)
{
    const CMTime second = CMTime::make(1, 1);
    struct Row {
        CMTime a, b, sum, difference;
    };
    const Row rows[] = {
        {second, plusInfinity, plusInfinity, minusInfinity},
        {plusInfinity, second, plusInfinity, plusInfinity},
        {plusInfinity, plusInfinity, plusInfinity, invalid},
        {plusInfinity, minusInfinity, invalid, plusInfinity},
        {indefinite, second, indefinite, indefinite},
        {indefinite, minusInfinity, minusInfinity, plusInfinity},
        {invalid, plusInfinity, invalid, invalid},
        {second, invalid, invalid, invalid},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.a + row.b, row.sum) << &row - rows;
        EXPECT_EQ(row.a - row.b, row.difference) << &row - rows;
    }
}

TEST(CMTimeTests, EpochsAreKeptApart)
{
    const CMTime first = CMTime::make(5, 1, 1), later = CMTime::make(7, 1, 1), next = CMTime::make(1, 1, 2);
    expectFields(first + CMTime::make(1, 1), 6, 1, false, 1);
    expectFields(CMTime::make(1, 1) + first, 6, 1, false, 1);
    expectFields(later - first, 2, 1);
    expectFields(later + first, 12, 1, false, 1);
    EXPECT_EQ(next - first, invalid);
    EXPECT_LT(later, next); // an epoch is over before the next begins
    EXPECT_NE(CMTime::make(5, 1), first);
}

TEST(CMTimeTests, ComparesExactlyAcrossTimescales)
{
    EXPECT_EQ(CMTime::make(1, 2), CMTime::make(300, 600));
    // As doubles both are 2^53 s.
    EXPECT_LT(CMTime::make(Int{1} << 53, 1), CMTime::make((Int{1} << 54) + 1, 2));
    EXPECT_GT(CMTime::make(most, 1), CMTime::make(most, 2));
    const CMTime ascending[] = {minusInfinity, CMTime::make(-most, 1), CMTime::zero(), CMTime::make(most, 1),
                                indefinite,    plusInfinity,           invalid};
    for (const CMTime& a : ascending)
        for (const CMTime& b : ascending) {
            EXPECT_EQ(a <=> b, &a <=> &b) << a.description() << b.description();
            EXPECT_EQ(a == b, &a == &b);
        }
    EXPECT_EQ(invalid, (CMTime{5, 0, 0, 3})); // whatever is behind it
}

TEST(CMTimeTests, ConvertsTimescales)
{
    expectFields(CMTime::make(1, 2).convertScale(600), 300, 600);
    expectFields(CMTime::make(1001, 30000).convertScale(600), 20, 600, true);
    expectFields(CMTime::make(1, 2).convertScale(1), 1, 1, true);
    expectFields(CMTime::make(-1, 2).convertScale(1), -1, 1, true);
    EXPECT_EQ(CMTime::make(most, 1).convertScale(2), plusInfinity);
    EXPECT_EQ(CMTime::make(1, 1).convertScale(0), invalid);
    EXPECT_EQ(indefinite.convertScale(600), indefinite);
}

TEST(CMTimeTests, MultipliesByWholeRealAndRatio)
{
    expectFields(multiply(CMTime::make(1001, 30000), 30000), 30030000, 30000);
    expectFields(multiply(CMTime::make(most, 600), -2), -most, 300);
    expectFields(multiplyByRatio(CMTime::make(2, 1), 1, 4), 1, 2);
    expectFields(multiplyByRatio(CMTime::make(1200, 600), 1, 4), 300, 600); // the timescale is kept
    expectFields(multiplyByRatio(CMTime::make(1, 600), 1, -7), -1, 4200);
    expectFields(multiplyByRatio(CMTime::make(1, 2147483647), 1, 2), 1, 2147483647, true);
    expectFields(multiplyByRatio(CMTime::make(std::numeric_limits<Int>::min(), 2), -1, 1), Int{1} << 62, 1);
    EXPECT_EQ(multiplyByRatio(CMTime::make(1, 1), 1, 0), invalid);

    expectFields(multiplyByFloat64(CMTime::make(600, 600), 0.5), 300, 600);
    expectFields(multiplyByFloat64(CMTime::make(1, 1), 0.25), 16384, 65536);
    expectFields(multiplyByFloat64(CMTime::make(1, 600), 1.0 / 3), 43, 76800, true);
    EXPECT_EQ(multiplyByFloat64(CMTime::make(most, 1), 2), plusInfinity);
    EXPECT_EQ(multiplyByFloat64(CMTime::make(-1, 1), HUGE_VAL), minusInfinity);
    EXPECT_EQ(multiplyByFloat64(CMTime::zero(), HUGE_VAL), invalid);
    EXPECT_EQ(multiplyByFloat64(CMTime::make(1, 1), std::nan("")), invalid);

    EXPECT_EQ(multiply(plusInfinity, -3), minusInfinity);
    EXPECT_EQ(multiplyByFloat64(minusInfinity, -0.5), plusInfinity);
    EXPECT_EQ(multiply(plusInfinity, 0), invalid);
    EXPECT_EQ(multiply(indefinite, 2), indefinite);
    EXPECT_EQ(multiply(invalid, 2), invalid);

    EXPECT_EQ(absoluteValue(CMTime::make(-3, 2)), CMTime::make(3, 2));
    expectFields(absoluteValue(CMTime::make(std::numeric_limits<Int>::min(), 2)), Int{1} << 62, 1);
    EXPECT_EQ(absoluteValue(minusInfinity), plusInfinity);
    EXPECT_EQ(absoluteValue(indefinite), indefinite);
}

TEST(CMTimeTests, ArithmeticAgreesWithFractionsOnRandomTimes)
{
    std::mt19937_64 random(8);
    const auto time = [&random] {
        const auto value = static_cast<Int>(random()) >> (random() % 63);
        return CMTime::make(value, static_cast<std::int32_t>(1 + random() % 0x7FFFFFFF) >> (random() % 31));
    };
    __extension__ using Wide = __int128;
    int numeric = 0;
    for (int n = 0; n < 20'000; ++n) {
        const CMTime a = time(), b = time();
        if (!a.isNumeric() || !b.isNumeric())
            continue;
        const Wide numerator = Wide{a.value} * b.timescale + Wide{b.value} * a.timescale;
        const Wide denominator = Wide{a.timescale} * b.timescale;
        const CMTime sum = a + b;
        const long double exact = static_cast<long double>(numerator) / static_cast<long double>(denominator);
        if (!sum.isNumeric()) {
            ASSERT_GE(std::abs(exact), 0x1p63L - 1);
            continue;
        }
        ++numeric;
        // Within half a tick of the exact sum, and on it unless it says otherwise.
        const long double found = static_cast<long double>(sum.value) / sum.timescale;
        ASSERT_LE(std::abs(found - exact), 0.5L / sum.timescale + std::abs(exact) * 1e-18L);
        if (!sum.hasBeenRounded()) {
            ASSERT_TRUE(Wide{sum.value} * denominator == numerator * sum.timescale);
        }
        if (const CMTime difference = a - b; !difference.hasBeenRounded()) {
            ASSERT_EQ(a <=> b, difference <=> CMTime::zero());
        }
    }
    EXPECT_GT(numeric, 10'000);
}

TEST(CMTimeTests, DescribesItself)
{
    EXPECT_EQ(CMTime::make(3, 2).description(), "{3/2 = 1.5}");
    EXPECT_EQ(CMTime::make(1, 2, 4).convertScale(1).description(), "{1/1 = 1.0, rounded, epoch 4}");
    EXPECT_EQ(plusInfinity.description(), "{+infinity}");
    EXPECT_EQ(minusInfinity.description(), "{-infinity}");
    EXPECT_EQ(indefinite.description(), "{indefinite}");
    EXPECT_EQ(CMTime().description(), "{invalid}");
}

} // namespace
} // namespace corvane
