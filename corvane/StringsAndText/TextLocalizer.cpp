// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Text/StringTable.h>
#include <corvane/StringsAndText/TextLocalizer.h>

#include <utility>

namespace corvane {

namespace {

constexpr std::string_view defaultTable = "Localizable";

std::string withArguments(std::string text, std::span<const FormatArgument> arguments)
{
    precondition(arguments.size() <= 4, "TextLocalizer doesn't support more than 4 arguments.");
    if (arguments.empty())
        return text;
    return formatted(text, arguments, Locale::current(LocaleCategory::numbers));
}

} // namespace

TextLocalizer::TextLocalizer(Bundle in, std::optional<std::string> table)
    : bundle(std::move(in)),
      tableName(std::move(table)),
      tables_(StringTables::forBundle(bundle, tableName ? *tableName : defaultTable))
{}

std::string TextLocalizer::local() const
{
    precondition(string.has_value(), "No localized string has been set.");
    const std::string* const found = tables_->find(string->rawValue);
    const std::string& text = found ? *found : defaultValue;
    return arguments ? withArguments(text, *arguments) : text;
}

std::string detail::localizedInMainBundle(const LocalizedString& string,
                                          std::span<const FormatArgument> arguments)
{
    // Finding the tables takes longer than a look-up in them, so each thread remembers them. Main bundles stay where
    // they are for the process's life, and so do their addresses.
    struct Known {
        const Bundle* bundle = nullptr;
        unsigned generation = 0;
        std::shared_ptr<const StringTables> tables;
    };
    static thread_local Known known;
    const Bundle& bundle = Bundle::main();
    const unsigned generation = StringTables::generation();
    if (known.bundle != &bundle || known.generation != generation)
        known = {&bundle, generation, StringTables::forBundle(bundle, defaultTable)};
    const std::string* const found = known.tables->find(string.rawValue);
    return withArguments(found ? *found : std::string(), arguments);
}

} // namespace corvane
