// SPDX-License-Identifier: Apache-2.0
#include "Options.h"

#include <charconv>
#include <string_view>
#include <vector>

namespace contactsheet {
namespace {

using corvane::Int;
using corvane::URL;

constexpr std::string_view help = R"(Usage: ContactSheet [OPTION...] FOLDER OUTPUT

Draws the pictures of FOLDER (PNG, JPEG, TIFF, HEIC), turned the right way up, on one sheet with their names.
OUTPUT is a .png, .jpg, .tiff or .heic file; it is replaced only by a complete sheet.

  --edge N         longest side of a thumbnail, 16 to 4096 pixels (200, or less when there are very many)
  --columns N      pictures in a row (as many as make the sheet a little wider than high)
  --no-subfolders  only the pictures in FOLDER itself
  --filter TEXT    only the pictures whose names contain TEXT, of which the letters A to Z match in either case
  --reverse        the last picture first
  --verbose        tells how the list of pictures comes about
  --help
)";

Usage wrong(std::string sentence)
{
    return {2, "ContactSheet: " + std::move(sentence) + "\n" + std::string(help)};
}

std::optional<Int> numberIn(std::string_view text, Int lowest, Int highest)
{
    Int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < lowest || value > highest)
        return std::nullopt;
    return value;
}

} // namespace

std::variant<Options, Usage> parseOptions(std::span<char* const> arguments)
{
    Options options{URL::fromPath("."), URL::fromPath("."), corvane::CGImageExportFormat::png};
    bool optionsEnded = false;
    std::vector<std::string_view> names;

    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        if (optionsEnded || !argument.starts_with("-") || argument == "-") {
            names.push_back(argument);
        } else if (argument == "--") {
            optionsEnded = true;
        } else if (argument == "--help" || argument == "-h") {
            return Usage{0, std::string(help)};
        } else if (argument == "--no-subfolders") {
            options.entersSubfolders = false;
        } else if (argument == "--reverse") {
            options.isReversed = true;
        } else if (argument == "--verbose") {
            options.isVerbose = true;
        } else if (argument == "--filter") {
            if (i + 1 == arguments.size() || !*arguments[i + 1])
                return wrong("--filter takes a text.");
            options.filter = arguments[++i];
        } else if (argument == "--edge" || argument == "--columns") {
            const std::string_view value = i + 1 < arguments.size() ? arguments[++i] : "";
            const bool isEdge = argument == "--edge";
            auto& number = isEdge ? options.edge : options.columns;
            number = isEdge ? numberIn(value, 16, 4096) : numberIn(value, 1, 1000);
            if (!number)
                return wrong(std::string(argument) + " takes a number from " +
                             (isEdge ? "16 to 4096" : "1 to 1000") + ", not \"" + std::string(value) + "\".");
        } else {
            return wrong("There is no option \"" + std::string(argument) + "\".");
        }
    }
    if (names.size() != 2)
        return wrong("Two names are needed: the folder and the sheet to write.");
    options.folder = URL::fromPath(names[0]);
    options.output = URL::fromPath(names[1]);
    const auto format = corvane::exportFormatFromPathExt(options.output.pathExtension());
    if (!format)
        return wrong("The extension of \"" + std::string(names[1]) +
                     "\" says no format of pictures: it should be .png, .jpg, .tiff or .heic.");
    options.format = *format;
    return options;
}

} // namespace contactsheet
