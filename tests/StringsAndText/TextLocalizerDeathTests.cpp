// SPDX-License-Identifier: Apache-2.0
#include <corvane/StringsAndText/TextLocalizer.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(TextLocalizerDeathTests, MisuseStopsTheProcess)
{
    const LocalizedString key("key");
    EXPECT_DEATH(static_cast<void>(TL(key, 1, 2, 3, 4, 5)),
                 "Fatal error: TextLocalizer doesn't support more than 4 arguments\\.");
    TextLocalizer localizer(Bundle::fromInfoDictionary({}));
    EXPECT_DEATH(static_cast<void>(localizer.local()), "Fatal error: No localized string has been set\\.");
    localizer.string = key;
    localizer.arguments = std::vector<FormatArgument>{1, 2, 3, 4, 5};
    EXPECT_DEATH(static_cast<void>(localizer.local()), "doesn't support more than 4 arguments");
}

} // namespace
} // namespace corvane
