// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Random.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace corvane {
namespace {

TEST(RandomTests, DrawsFillAllBitsEvenly)
{
    std::array<int, 32> ones{};
    constexpr int draws = 20'000;
    for (int n = 0; n < draws; ++n) {
        const std::uint32_t drawn = randomUInt32();
        for (std::size_t bit = 0; bit < ones.size(); ++bit)
            ones[bit] += static_cast<int>(drawn >> bit & 1);
    }
    // Six standard deviations: a fair generator fails this once in ten million runs.
    const double allowed = 6 * std::sqrt(draws) / 2;
    for (const int count : ones)
        EXPECT_NEAR(count, draws / 2, allowed);
}

TEST(RandomTests, BoundedDrawsReachEveryValueBelowTheBoundOnly)
{
    std::array<int, 5> seen{};
    for (int n = 0; n < 10'000; ++n)
        ++seen.at(randomUInt32Below(5));
    for (const int count : seen)
        EXPECT_NEAR(count, 2000, 6 * std::sqrt(10'000 * 0.2 * 0.8));
    EXPECT_EQ(randomUInt32Below(1), 0U);
    EXPECT_EQ(randomUInt32Below(0), 0U);
}

TEST(RandomTests, FillsExactlyTheBytesGiven)
{
    std::array<std::byte, 4096> bytes{};
    fillRandom(std::span(bytes).subspan(1, 4094));
    EXPECT_EQ(bytes.front(), std::byte{0});
    EXPECT_EQ(bytes.back(), std::byte{0});
    // 16 of 4094 random bytes are zero on average.
    EXPECT_LT(std::count(bytes.begin(), bytes.end(), std::byte{0}), 60);
    fillRandom({});
}

} // namespace
} // namespace corvane
