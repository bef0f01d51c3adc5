// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Format.h>
#include <corvane/Platform/Text/Locale.h>
#include <corvane/Platform/Text/StringTable.h>
#include <corvane/Platform/Text/StringTableCheck.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

namespace corvane {

namespace {

namespace fs = std::filesystem;

bool isLanguageFolder(const fs::path& folder)
{
    return folder.extension() == ".lproj";
}

// The language folders among `folders` and in them. A folder that is not there is one without tables.
std::vector<fs::path> languageFolders(std::span<const std::string> folders)
{
    std::vector<fs::path> result;
    for (fs::path folder : folders) {
        if (!folder.has_filename()) // "de.lproj/"
            folder = folder.parent_path();
        if (isLanguageFolder(folder))
            result.push_back(folder);
        std::error_code error;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
            if (isLanguageFolder(entry->path()))
                result.push_back(entry->path());
    }
    std::ranges::sort(result);
    return result;
}

std::string inQuotes(std::string_view key)
{
    return std::string("\"").append(key).append("\"");
}

using Kinds = std::vector<std::optional<PlaceholderKind>>;

std::string describe(const Kinds& kinds)
{
    std::string text;
    for (const auto& kind : kinds) {
        constexpr const char* names[] = {"a whole number", "a real number", "a text"};
        text += text.empty() ? "" : ", ";
        text += kind ? names[static_cast<int>(*kind)] : "anything";
    }
    return text.empty() ? "nothing" : text;
}

class Checker {
public:
    explicit Checker(const StringTableCheckOptions& options) : options_(options) {}

    std::vector<StringTableProblem> check(std::span<const std::string> folders)
    {
        std::set<std::string> tables;
        std::vector<fs::path> languages = languageFolders(folders);
        const auto others =
            std::stable_partition(languages.begin(), languages.end(),
                                  [&](const fs::path& folder) { return isOfDevelopment(folder); });
        for (const fs::path& folder : languages) {
            std::error_code error;
            for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
                 entry.increment(error))
                if (entry->path().extension() == ".strings")
                    tables.insert(entry->path().filename());
        }
        if (!languages.empty() && others == languages.begin())
            note(languages.front().parent_path(), 1,
                 "the development language " + inQuotes(options_.developmentLanguage) + " has no folder");
        else
            for (const std::string& table : tables)
                checkTable(table, languages);
        return std::move(problems_);
    }

private:
    bool isOfDevelopment(const fs::path& folder) const
    {
        return Locale(folder.stem().string()) == Locale(options_.developmentLanguage);
    }

    void note(const fs::path& file, std::size_t line, std::string description)
    {
        problems_.push_back({file.string(), line, std::move(description)});
    }

    void checkTable(const std::string& name, const std::vector<fs::path>& languages)
    {
        const std::size_t before = problems_.size();
        const fs::path original = languages.front() / name;
        const auto wanted = read(original);
        for (std::size_t i = 1; i < languages.size(); ++i)
            if (const auto found = read(languages[i] / name); found && wanted)
                compare(*wanted, original, *found, languages[i] / name);
        std::sort(problems_.begin() + static_cast<std::ptrdiff_t>(before), problems_.end(),
                  [](const StringTableProblem& a, const StringTableProblem& b) {
                      return std::tie(a.file, a.line, a.description) <
                             std::tie(b.file, b.line, b.description);
                  });
    }

    // Absent when there is no use in going on with the table.
    std::optional<StringTable> read(const fs::path& file)
    {
        std::error_code error;
        if (!fs::exists(file, error)) {
            note(file, 1, "the table is missing");
            return std::nullopt;
        }
        auto found = StringTable::read(file.string());
        if (const auto* damage = std::get_if<StringTable::Damage>(&found)) {
            note(file, damage->line, damage->description);
            return std::nullopt;
        }
        auto table = std::get<StringTable>(std::move(found));
        for (const auto& [key, entry] : table.entries())
            if (entry.earlierLine != 0)
                note(file, entry.line,
                     inQuotes(key) + " is in line " + std::to_string(entry.earlierLine) + " already");
        return table;
    }

    void compare(const StringTable& wanted, const fs::path& original, const StringTable& found,
                 const fs::path& translation)
    {
        for (const auto& [key, entry] : wanted.entries())
            if (!found.find(key))
                note(original, entry.line,
                     inQuotes(key) + " is missing in " + translation.parent_path().filename().string());
        for (const auto& [key, entry] : found.entries())
            if (const std::string* const text = wanted.find(key))
                compareTexts(key, *text, entry, translation);
            else
                note(translation, entry.line,
                     inQuotes(key) + " is not in " + original.parent_path().filename().string());
    }

    void compareTexts(const std::string& key, const std::string& wanted, const StringTable::Entry& found,
                      const fs::path& translation)
    {
        if (std::ranges::find(options_.plainKeys, key) != options_.plainKeys.end())
            return;
        // A text that is no format has a percent sign of its own, and takes no arguments.
        const auto original = placeholders(wanted), translated = placeholders(found.text);
        const Kinds kinds = original.value_or(Kinds()), kindsHere = translated.value_or(Kinds());
        if (kinds == kindsHere)
            return;
        note(translation, found.line,
             translated ? inQuotes(key) + " takes " + describe(kindsHere) +
                              " where the development language takes " + describe(kinds)
                        : inQuotes(key) + " has a broken placeholder");
    }

    const StringTableCheckOptions& options_;
    std::vector<StringTableProblem> problems_;
};

} // namespace

std::vector<StringTableProblem> checkStringTables(std::span<const std::string> folders,
                                                  const StringTableCheckOptions& options)
{
    return Checker(options).check(folders);
}

} // namespace corvane
