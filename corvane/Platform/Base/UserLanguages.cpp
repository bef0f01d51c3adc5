// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/UserLanguages.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace corvane {

namespace {

bool isNoLanguage(std::string_view name)
{
    const std::string_view plain = name.substr(0, name.find_first_of(".@"));
    return plain.empty() || plain == "C" || plain == "POSIX";
}

} // namespace

std::string userLocaleName(const char* category)
{
    for (const char* const variable : {"LC_ALL", category, "LANG"})
        if (const char* const value = std::getenv(variable); value && *value)
            return value;
    return {};
}

std::vector<std::string> userLanguages()
{
    std::vector<std::string> languages;
    std::string locale = userLocaleName("LC_MESSAGES");
    if (isNoLanguage(locale))
        return languages;
    const char* const variable = std::getenv("LANGUAGE");
    std::string_view list = variable ? variable : "";
    while (!list.empty()) {
        const std::string_view first = list.substr(0, list.find(':'));
        if (!isNoLanguage(first))
            languages.emplace_back(first);
        list.remove_prefix(std::min(first.size() + 1, list.size()));
    }
    languages.push_back(std::move(locale));
    return languages;
}

} // namespace corvane
