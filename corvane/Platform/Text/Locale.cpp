// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/UserLanguages.h>
#include <corvane/Platform/Text/Locale.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace corvane {

Locale::Locale(std::string_view name)
{
    const auto at = name.find('@');
    const std::string_view modifier = at == name.npos ? std::string_view() : name.substr(at + 1);
    name = name.substr(0, at);
    name = name.substr(0, name.find('.'));
    if (name == "C" || name == "POSIX")
        return;
    identifier_ = name;
    std::ranges::replace(identifier_, '-', '_');
    // The modifiers that name a script; others, such as a currency, say nothing about text.
    constexpr std::pair<std::string_view, std::string_view> scripts[] = {
        {"latin", "_Latn"}, {"cyrillic", "_Cyrl"}, {"devanagari", "_Deva"}};
    for (const auto& [called, script] : scripts)
        if (modifier == called)
            identifier_.insert(std::min(identifier_.find('_'), identifier_.size()), script);
}

Locale Locale::current(LocaleCategory category)
{
    constexpr const char* variables[] = {"LC_MESSAGES", "LC_COLLATE", "LC_NUMERIC", "LC_TIME"};
    return Locale(userLocaleName(variables[static_cast<int>(category)]));
}

} // namespace corvane
