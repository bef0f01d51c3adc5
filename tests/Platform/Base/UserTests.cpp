// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/User.h>

#include <Support/EnvironmentVariable.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace corvane {
namespace {

using tests::EnvironmentVariable;

TEST(UserTests, TheNameIsTheOneOfThePasswordDatabaseWhateverTheEnvironmentSays)
{
    const EnvironmentVariable user("USER", "somebody"), login("LOGNAME", "somebody");
    const passwd* const entry = ::getpwuid(::geteuid());
    EXPECT_EQ(userName(), entry ? entry->pw_name : std::to_string(::geteuid()));
}

TEST(UserTests, TheHomeFolderIsAnAbsolutePath)
{
    const passwd* const entry = ::getpwuid(::geteuid());
    const auto fallback = entry && *entry->pw_dir ? std::optional<std::string>(entry->pw_dir) : std::nullopt;
    const std::pair<const char*, std::optional<std::string>> rows[] = {{"/home/ana", "/home/ana"},
                                                                       {"/home/ana//", "/home/ana"},
                                                                       {"/", "/"},
                                                                       {"ana", fallback},
                                                                       {"", fallback},
                                                                       {nullptr, fallback}};
    for (const auto& [variable, home] : rows) {
        const EnvironmentVariable set("HOME", variable);
        EXPECT_EQ(homeDirectory(), home);
    }
}

} // namespace
} // namespace corvane
