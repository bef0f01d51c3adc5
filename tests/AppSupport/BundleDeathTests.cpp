// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/Bundle.h>
#include <corvane/AppSupport/BundleVersion.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(BundleDeathTests, ABundleWithoutNameOrVersionIsAMistakeOfItsProgram)
{
    const Bundle bundle =
        Bundle::fromInfoDictionary({{"CFBundleName", 1}, {"CFBundleShortVersionString", 1}});
    const char* const version = "Fatal error: Bundle should have a version with the format XXX.XXX.XXX\n";
    EXPECT_DEATH((void)name(bundle), "Fatal error: Bundle should have a name\n");
    EXPECT_DEATH((void)versionString(bundle), version);
    EXPECT_DEATH(
        {
            Bundle::setMain(bundle);
            (void)Version("1").isCurrent();
        },
        version);
}

} // namespace
} // namespace corvane
