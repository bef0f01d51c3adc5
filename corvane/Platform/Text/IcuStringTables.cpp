// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/UserLanguages.h>
#include <corvane/Platform/Text/Locale.h>
#include <corvane/Platform/Text/StringTable.h>

#include <unicode/localematcher.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <tuple>

namespace corvane {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view folderEnding = ".lproj";

// Which of `available` suits the user best: "zh_Hant" one of "zh_TW", "no" one of "nb". Empty when none does.
std::string bestLanguage(const std::vector<std::string>& available, const std::vector<std::string>& wanted)
{
    if (available.empty() || wanted.empty())
        return {};
    UErrorCode status = U_ZERO_ERROR;
    icu::LocaleMatcher::Builder builder;
    builder.setNoDefaultLocale();
    std::vector<icu::Locale> supported, desired;
    for (const std::string& language : available)
        supported.push_back(icu::Locale::createFromName(language.c_str()));
    for (const std::string& language : wanted)
        desired.push_back(icu::Locale::createFromName(language.c_str()));
    for (const icu::Locale& locale : supported)
        builder.addSupportedLocale(locale);
    const icu::LocaleMatcher matcher = builder.build(status);
    icu::Locale::RangeIterator<std::vector<icu::Locale>::iterator> range(desired.begin(), desired.end());
    const icu::LocaleMatcher::Result result = matcher.getBestMatchResult(range, status);
    if (U_FAILURE(status) || result.getSupportedIndex() < 0)
        return {};
    return available[static_cast<std::size_t>(result.getSupportedIndex())];
}

// The table of a file that is there.
std::optional<StringTable> read(const fs::path& file)
{
    std::error_code error;
    if (!fs::exists(file, error))
        return std::nullopt;
    auto found = StringTable::read(file);
    if (const auto* damage = std::get_if<StringTable::Damage>(&found)) {
        std::fprintf(stderr, "%s:%zu: %s\n", file.c_str(), damage->line, damage->description.c_str());
        return StringTable();
    }
    return std::get<StringTable>(std::move(found));
}

std::vector<StringTable> readAll(const fs::path& resources, const std::string& development,
                                 std::string_view name)
{
    const fs::path file = std::string(name) + ".strings";
    std::vector<std::string> folders, languages; // alike, but for how the language is written
    std::error_code error;
    for (fs::directory_iterator entry(resources, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string folder = entry->path().filename();
        std::error_code ignored;
        if (folder.ends_with(folderEnding) && fs::exists(entry->path() / file, ignored))
            folders.push_back(folder.substr(0, folder.size() - folderEnding.size()));
    }
    std::ranges::sort(folders); // the file system's order is nobody's choice
    for (const std::string& folder : folders)
        languages.push_back(Locale(folder).identifier());

    std::vector<std::string> chosen;
    const auto choose = [&](const std::vector<std::string>& wanted) {
        const std::string best = bestLanguage(languages, wanted);
        for (std::size_t i = 0; !best.empty() && i < folders.size(); ++i)
            if (languages[i] == best && std::ranges::find(chosen, folders[i]) == chosen.end())
                return chosen.push_back(folders[i]);
    };
    std::vector<std::string> wanted;
    for (const std::string& language : userLanguages())
        wanted.push_back(Locale(language).identifier());
    choose(wanted);
    choose({Locale(development).identifier()});

    std::vector<StringTable> tables;
    for (const std::string& folder : chosen)
        if (auto table = read(resources / (folder + std::string(folderEnding)) / file))
            tables.push_back(std::move(*table));
    if (auto table = read(resources / file))
        tables.push_back(std::move(*table));
    return tables;
}

struct Cache {
    std::mutex lock;
    std::map<std::tuple<std::string, std::string, std::string>, std::shared_ptr<const StringTables>> tables;
    std::atomic<unsigned> generation = 1;
};

Cache& cache()
{
    static auto* const cache = new Cache; // for work that outlives main()
    return *cache;
}

} // namespace

std::shared_ptr<const StringTables> StringTables::forBundle(const Bundle& bundle, std::string_view table)
{
    const std::string resources = bundle.resourceURL() ? bundle.resourceURL()->path() : std::string();
    const std::string development = bundle.developmentLanguage();
    Cache& all = cache();
    const std::lock_guard guard(all.lock); // while reading too, so that damage is reported once
    auto& tables = all.tables[{resources, development, std::string(table)}];
    if (!tables) {
        auto made = std::make_shared<StringTables>();
        if (!resources.empty())
            made->tables_ = readAll(resources, development, table);
        tables = std::move(made);
    }
    return tables;
}

void StringTables::forgetAll()
{
    Cache& all = cache();
    const std::lock_guard guard(all.lock);
    all.tables.clear();
    all.generation.fetch_add(1, std::memory_order_release);
}

unsigned StringTables::generation() noexcept
{
    return cache().generation.load(std::memory_order_acquire);
}

const std::string* StringTables::find(std::string_view key) const
{
    for (const StringTable& table : tables_)
        if (const std::string* text = table.find(key))
            return text;
    return nullptr;
}

} // namespace corvane
