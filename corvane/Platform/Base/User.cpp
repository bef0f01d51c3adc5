// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/User.h>

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace corvane {

namespace {

// A field of the user's entry in the password database; empty where there is none.
std::string entryField(char* passwd::*field)
{
    std::vector<char> buffer(1024);
    for (;;) {
        passwd entry{};
        passwd* found = nullptr;
        const int error = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE && buffer.size() < (std::size_t{1} << 20U)) {
            buffer.resize(2 * buffer.size());
            continue;
        }
        return error == 0 && found && found->*field ? found->*field : std::string();
    }
}

} // namespace

std::string userName()
{
    std::string name = entryField(&passwd::pw_name);
    return name.empty() ? std::to_string(::geteuid()) : name;
}

std::optional<std::string> homeDirectory()
{
    const char* const variable = std::getenv("HOME");
    std::string home = variable && *variable == '/' ? std::string(variable) : entryField(&passwd::pw_dir);
    while (home.size() > 1 && home.ends_with('/'))
        home.pop_back();
    return home.empty() ? std::nullopt : std::optional(std::move(home));
}

std::optional<std::string> userDataDirectory()
{
    if (const char* const variable = std::getenv("XDG_DATA_HOME"); variable && *variable == '/')
        return variable;
    std::optional<std::string> home = homeDirectory();
    if (home)
        *home += *home == "/" ? ".local/share" : "/.local/share";
    return home;
}

} // namespace corvane
