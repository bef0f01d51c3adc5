// SPDX-License-Identifier: Apache-2.0
// corvane-check-strings: fails when the languages of a bundle do not have the same texts.
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Text/StringTableCheck.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* usage =
    "corvane-check-strings [--development LANGUAGE] [--plain KEY]… FOLDER…\n"
    "\n"
    "Holds the string tables of each language against those of the development language: tables and keys "
    "that are\n"
    "missing, damage, texts of one key that take different arguments. A FOLDER is a bundle's, or a language "
    "folder\n"
    "(\"de.lproj\"). The development language is that of the first bundle's Info.plist, otherwise \"en\". "
    "The texts\n"
    "of a --plain KEY are used without arguments: their percent signs say nothing.\n"
    "\n"
    "Prints a line for each problem, with its file and line. Ends with 0 when there is none, with 1 when "
    "there are\n"
    "some, with 2 when it was called wrongly.\n";

int complain(const std::string& what)
{
    std::fprintf(stderr, "corvane-check-strings: %s\n\n%s", what.c_str(), usage);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    corvane::StringTableCheckOptions options;
    std::optional<std::string> development;
    std::vector<std::string> folders;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--help") {
            std::fputs(usage, stdout);
            return 0;
        }
        const bool isOption = argument == "--development" || argument == "--plain";
        if (isOption && i + 1 == argc)
            return complain("something has to follow " + std::string(argument));
        if (argument == "--development")
            development = argv[++i];
        else if (argument == "--plain")
            options.plainKeys.emplace_back(argv[++i]);
        else if (argument.starts_with("--"))
            return complain("there is no option " + std::string(argument));
        else if (!std::filesystem::is_directory(argument))
            return complain("there is no folder " + std::string(argument));
        else
            folders.emplace_back(argument);
    }
    if (folders.empty())
        return complain("no folder is given");
    options.developmentLanguage =
        development
            ? *development
            : corvane::Bundle::fromFolder(corvane::URL::fromPath(folders.front())).developmentLanguage();

    const auto problems = corvane::checkStringTables(folders, options);
    for (const auto& problem : problems)
        std::fprintf(stderr, "%s:%zu: %s\n", problem.file.c_str(), problem.line, problem.description.c_str());
    return problems.empty() ? 0 : 1;
}
