// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Locale.h>

#include <Support/EnvironmentVariable.h>
#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(Locale, ReadsPosixNames)
{
    struct Row {
        const char* name;
        const char* identifier;
    };
    for (const auto& [name, identifier] :
         {Row{"", ""}, Row{"C", ""}, Row{"POSIX", ""}, Row{"C.UTF-8", ""}, Row{"sv", "sv"},
          Row{"de_DE", "de_DE"}, Row{"de-DE", "de_DE"}, Row{"de_DE.UTF-8@euro", "de_DE"},
          Row{"sr_RS.UTF-8@latin", "sr_Latn_RS"}, Row{"uz@cyrillic", "uz_Cyrl"},
          Row{"sd_IN@devanagari", "sd_Deva_IN"}})
        EXPECT_EQ(Locale(name).identifier(), identifier) << name;
}

TEST(Locale, FollowsTheEnvironment)
{
    const tests::EnvironmentVariable all("LC_ALL", nullptr), collate("LC_COLLATE", nullptr),
        numeric("LC_NUMERIC", ""), lang("LANG", "nb_NO.UTF-8");
    EXPECT_EQ(Locale::current(LocaleCategory::collation), Locale("nb_NO"));
    {
        const tests::EnvironmentVariable other("LC_COLLATE", "sv_SE.UTF-8");
        EXPECT_EQ(Locale::current(LocaleCategory::collation), Locale("sv_SE"));
        EXPECT_EQ(Locale::current(LocaleCategory::numbers), Locale("nb_NO"));
        const tests::EnvironmentVariable above("LC_ALL", "C");
        EXPECT_EQ(Locale::current(LocaleCategory::collation), Locale());
    }
    const tests::EnvironmentVariable none("LANG", nullptr);
    EXPECT_EQ(Locale::current(), Locale());
}

} // namespace
} // namespace corvane
