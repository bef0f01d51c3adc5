// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/User.h>

#include <Support/EnvironmentVariable.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <tuple>
#include <utility>

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

TEST(UserTests, DataIsKeptWhereTheEnvironmentSaysIfThatIsAnAbsolutePath)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"/data", "/home/ana", "/data"},
        {"data", "/home/ana", "/home/ana/.local/share"},
        {"", "/home/ana", "/home/ana/.local/share"},
        {nullptr, "/", "/.local/share"}};
    for (const auto& [data, home, expected] : rows) {
        const EnvironmentVariable dataHome("XDG_DATA_HOME", data), homeFolder("HOME", home);
        EXPECT_EQ(userDataDirectory(), expected);
    }
}

} // namespace
} // namespace corvane
