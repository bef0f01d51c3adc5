// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/PropertyValue.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(PropertyValueTests, AccessorsGiveTheHeldKindOnly)
{
    const PropertyValue values[] = {true,
                                    "text",
                                    Data{std::byte{0}, std::byte{255}},
                                    Date(std::chrono::microseconds(-1)),
                                    PropertyArray{1, "two"},
                                    PropertyDictionary{{"key", 3}}};
    for (std::size_t kind = 0; kind < std::size(values); ++kind) {
        const PropertyValue& value = values[kind];
        const bool held[] = {value.asNumber() != nullptr, value.asString() != nullptr,
                             value.asData() != nullptr,   value.asDate() != nullptr,
                             value.asArray() != nullptr,  value.asDictionary() != nullptr};
        for (std::size_t other = 0; other < std::size(held); ++other)
            EXPECT_EQ(held[other], other == kind) << kind << " as " << other;
    }
    EXPECT_EQ(values[0].asNumber()->kind(), Number::Kind::boolean);
    EXPECT_EQ(*values[1].asString(), "text");
    EXPECT_EQ(PropertyValue(), PropertyValue(0));
}

TEST(PropertyValueTests, EqualityIsDeepAndComparesNumbersByValue)
{
    const PropertyDictionary one{{"list", PropertyArray{1, PropertyDictionary{{"deep", "x"}}}}};
    const PropertyDictionary same{{"list", PropertyArray{1.0, PropertyDictionary{{"deep", "x"}}}}};
    const PropertyDictionary other{{"list", PropertyArray{1, PropertyDictionary{{"deep", "y"}}}}};
    EXPECT_EQ(PropertyValue(one), PropertyValue(same));
    EXPECT_NE(PropertyValue(one), PropertyValue(other));
    EXPECT_NE(PropertyValue("1"), PropertyValue(1));
}

TEST(PropertyValueTests, FindGivesNullForAMissingKey)
{
    const PropertyDictionary dictionary{{"a", 1}};
    ASSERT_NE(find(dictionary, "a"), nullptr);
    EXPECT_EQ(find(dictionary, "a"), &dictionary.at("a"));
    EXPECT_EQ(find(dictionary, "b"), nullptr);
}

} // namespace
} // namespace corvane
