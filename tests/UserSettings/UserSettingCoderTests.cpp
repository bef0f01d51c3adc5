// SPDX-License-Identifier: Apache-2.0
#include <corvane/UserSettings/UserSettingCoder.h>

#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace corvane {
namespace {

using tests::TemporaryFolder;

// Stores `value`, finds `stored` in the database and reads `value` again; then removes it.
template <typename Coder>
void expectStored(const typename Coder::CodableType& value, const PropertyValue& stored)
{
    const UserDefaults defaults = UserDefaults::inMemory();
    const Coder coder;
    EXPECT_FALSE(coder.decode(defaults, "key"));
    coder.encode(value, defaults, "key");
    const auto object = defaults.objectForKey("key");
    ASSERT_TRUE(object);
    EXPECT_EQ(archivedData(*object), archivedData(stored)) << "another kind";
    EXPECT_EQ(coder.decode(defaults, "key"), value);
    coder.encode(std::nullopt, defaults, "key");
    EXPECT_FALSE(defaults.hasObjectForKey("key"));
}

template <typename Coder>
auto decoded(const PropertyValue& stored)
{
    const UserDefaults defaults = UserDefaults::inMemory();
    defaults.setObject(stored, "key");
    return Coder().decode(defaults, "key");
}

TEST(UserSettingCoderTests, WhatEachStores)
{
    const URL url = *URL::fromString("https://example.org/a%20b");
    const PropertyArray mixed = {1, "two"};
    const Date date(std::chrono::microseconds(-7));
    expectStored<NSObjectUSC>("text", "text");
    expectStored<URLUSC>(url, url.absoluteString());
    expectStored<NSArrayUSC>(mixed, mixed);
    expectStored<StringArrayUSC>({"a", ""}, PropertyArray{"a", ""});
    expectStored<StringArrayUSC>({}, PropertyArray{});
    expectStored<URLArrayUSC>({url, url}, PropertyArray{url.absoluteString(), url.absoluteString()});
    expectStored<URLArrayUSC>({}, PropertyArray{});
    expectStored<StringUSC>("", "");
    expectStored<DictUSC>({{"a", mixed}}, PropertyDictionary{{"a", mixed}});
    expectStored<DataUSC>({}, Data{});
    expectStored<BoolUSC>(false, false);
    expectStored<IntUSC>(0, 0);
    expectStored<IntUSC>(std::numeric_limits<Int>::min(), std::numeric_limits<Int>::min());
    expectStored<UIntUSC>(5, 5U);
    expectStored<UIntUSC>(std::numeric_limits<std::uint64_t>::max(),
                          std::numeric_limits<std::uint64_t>::max());
    expectStored<FloatUSC>(0.1F, 0.1F);
    expectStored<DoubleUSC>(0.1, 0.1);
    expectStored<CGFloatUSC>(-0.0, -0.0);
    expectStored<DateUSC>(date, date);
    expectStored<NSNumberUSC>(Number(2.5F), 2.5F);
    expectStored<BundleVersionUSC>(Version("1.2.3"), "1.2.3");
    expectStored<AVFileTypeUSC>(AVFileType::mp4, "public.mpeg-4");
    expectStored<AVFileTypeUSC>(AVFileType{"org.example.reel"}, "org.example.reel");
    expectStored<AVVideoCodecTypeUSC>(AVVideoCodecType::hevc, "hvc1");
    expectStored<DateFormatterStyleUSC>(DateFormatterStyle::long_, 3U);
}

TEST(UserSettingCoderTests, WhatEachMakesOfOtherKinds)
{
    const PropertyValue number = 7;
    const PropertyValue text = "12 apples";
    const PropertyValue date = Date(std::chrono::microseconds(1));
    // By kind.
    EXPECT_FALSE(decoded<NSArrayUSC>(text));
    EXPECT_FALSE(decoded<StringArrayUSC>(text));
    EXPECT_FALSE(decoded<StringArrayUSC>(PropertyArray{"a", 1}));
    EXPECT_FALSE(decoded<URLArrayUSC>(PropertyArray{"https://example.org", "no url: %"}));
    EXPECT_FALSE(decoded<DateUSC>(number));
    EXPECT_FALSE(decoded<NSNumberUSC>(text));
    EXPECT_FALSE(decoded<DateFormatterStyleUSC>(text));
    EXPECT_EQ(decoded<DateFormatterStyleUSC>(99), static_cast<DateFormatterStyle>(99));
    EXPECT_EQ(decoded<NSObjectUSC>(date), date);
    // By the conversions of the typed reads.
    EXPECT_EQ(decoded<StringUSC>(number), "7");
    EXPECT_FALSE(decoded<StringUSC>(date));
    EXPECT_EQ(decoded<AVFileTypeUSC>(number)->rawValue, "7");
    EXPECT_EQ(decoded<BundleVersionUSC>(1.5), Version("1.5"));
    EXPECT_FALSE(decoded<BundleVersionUSC>(date));
    EXPECT_FALSE(decoded<URLUSC>(number));
    EXPECT_FALSE(decoded<URLUSC>(""));
    EXPECT_FALSE(decoded<DictUSC>(text));
    EXPECT_FALSE(decoded<DataUSC>(text));
    EXPECT_EQ(decoded<BoolUSC>(text), true);
    EXPECT_EQ(decoded<BoolUSC>(date), false);
    EXPECT_EQ(decoded<IntUSC>(text), 12);
    EXPECT_EQ(decoded<UIntUSC>(text), 12U);
    EXPECT_EQ(decoded<FloatUSC>(text), 12.0F);
    EXPECT_EQ(decoded<DoubleUSC>(date), 0.0);
    EXPECT_EQ(decoded<CGFloatUSC>(number), 7.0);
}

TEST(UserSettingCoderTests, IncrementsChangeOnlyWhatIsStored)
{
    const UserDefaults defaults = UserDefaults::inMemory();
    increment(IntUSC(), 1, defaults, "count");
    EXPECT_FALSE(defaults.hasObjectForKey("count"));
    defaults.setObject(5, "count");
    increment(IntUSC(), 3, defaults, "count");
    decrement(IntUSC(), 10, defaults, "count");
    EXPECT_EQ(defaults.objectForKey("count"), PropertyValue(-2));
    increment(DoubleUSC(), 0.5, defaults, "count");
    EXPECT_EQ(defaults.objectForKey("count"), PropertyValue(-1.5));
    static_assert(!NumericUserSettingCoder<BoolUSC> && !NumericUserSettingCoder<NSNumberUSC>);
    static_assert(NumericUserSettingCoder<UIntUSC> && NumericUserSettingCoder<CGFloatUSC>);
}

struct Grid {
    Int columns;
    PropertyValue propertyValue() const { return columns; }
    static std::optional<Grid> fromPropertyValue(const PropertyValue& value)
    {
        return value.asNumber() ? std::optional(Grid{value.asNumber()->intValue()}) : std::nullopt;
    }
    friend bool operator==(const Grid&, const Grid&) = default;
};

TEST(UserSettingCoderTests, HostTypesJoin)
{
    static_assert(UserSettingCoder<ObjectUSC<Grid>> && !UserSettingCoder<Grid>);
    expectStored<ObjectUSC<Grid>>(Grid{4}, 4);
    EXPECT_FALSE(decoded<ObjectUSC<Grid>>("four"));
}

TEST(UserSettingCoderTests, PersistentURLsFollowTheirFile)
{
    const TemporaryFolder folder;
    const URL file = URL::fromPath(folder.write("letter.txt", "text"));
    const UserDefaults defaults = UserDefaults::inMemory();
    const PersistentURLUSC coder;
    coder.encode(file, defaults, "file");
    EXPECT_EQ(coder.cacheURL(), file);
    ASSERT_TRUE(defaults.dataForKey("file"));

    std::filesystem::create_directory(folder / "sub");
    std::filesystem::rename(folder / "letter.txt", folder / "sub/moved.txt");
    EXPECT_EQ(coder.decode(defaults, "file"), file) << "what it holds";
    const PersistentURLUSC fresh;
    const URL moved = URL::fromPath(folder / "sub/moved.txt");
    EXPECT_EQ(fresh.decode(defaults, "file"), moved);
    EXPECT_EQ(fresh.cacheURL(), moved);
    defaults.removeObjectForKey("file");
    EXPECT_EQ(PersistentURLUSC(fresh).decode(defaults, "file"), moved) << "a copy is the same coder";

    fresh.encode(moved, defaults, "file");
    EXPECT_FALSE(defaults.hasObjectForKey("file")) << "the value it holds is not written again";
    fresh.encode(URL::fromPath(folder.path().string()), defaults, "file");
    EXPECT_TRUE(defaults.hasObjectForKey("file"));
    fresh.encode(URL::fromPath(folder / "missing"), defaults, "file");
    EXPECT_FALSE(defaults.hasObjectForKey("file")) << "the old one is removed first";
    EXPECT_FALSE(fresh.cacheURL());
    defaults.setObject(1, "file");
    fresh.encode(std::nullopt, defaults, "file");
    EXPECT_TRUE(defaults.hasObjectForKey("file")) << "absent is what it holds";

    for (const PropertyValue& unusable : {PropertyValue("text"), PropertyValue(Data(40))}) {
        defaults.setObject(unusable, "file");
        EXPECT_FALSE(PersistentURLUSC().decode(defaults, "file"));
        EXPECT_EQ(defaults.objectForKey("file"), unusable);
    }
}

TEST(UserSettingCoderTests, AStalePersistentURLIsAbsentAndStaysStored)
{
    const TemporaryFolder folder;
    const UserDefaults defaults = UserDefaults::inMemory();
    const std::string path = folder.write("letter.txt");
    PersistentURLUSC().encode(URL::fromPath(path), defaults, "file");
    folder.write("other.txt");
    std::filesystem::rename(folder / "other.txt", path); // another file in its place
    const auto stored = defaults.objectForKey("file");
    EXPECT_FALSE(PersistentURLUSC().decode(defaults, "file"));
    std::filesystem::remove(path);
    EXPECT_FALSE(PersistentURLUSC().decode(defaults, "file"));
    EXPECT_EQ(defaults.objectForKey("file"), stored);
}

} // namespace
} // namespace corvane
