// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace corvane {

/// A place in the string tables of a bundle that somebody has to look at.
struct StringTableProblem {
    std::string file;
    std::size_t line; ///< from 1
    std::string description;
};

struct StringTableCheckOptions {
    std::string developmentLanguage = "en";
    /// Keys of texts that are used without arguments: a percent sign in them is one, whatever follows.
    std::vector<std::string> plainKeys;
};

/// Holds the tables of all languages against those of the development language, for a test or a build rule:
///
///     for (const StringTableProblem& problem : checkStringTables(std::vector<std::string>{"share/gallery"}))
///         std::fprintf(stderr, "%s:%zu: %s\n", problem.file.c_str(), problem.line, problem.description.c_str());
///
/// Finds tables that are damaged or that a language lacks, keys that only some languages have or that one table
/// has twice, and texts of one key that want different arguments, which would stop the program in that language
/// only. `folders` are bundles' folders, of which the language folders are looked at, or language folders
/// ("de.lproj") themselves. Problems come table by table, in the order of their lines. Thread-safe.
[[nodiscard]] CORVANE_API std::vector<StringTableProblem>
checkStringTables(std::span<const std::string> folders, const StringTableCheckOptions& options = {});

} // namespace corvane
