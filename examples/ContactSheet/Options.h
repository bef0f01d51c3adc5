// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/CoreGraphics/CGImageExportFormat.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Base/URL.h>

#include <optional>
#include <span>
#include <string>
#include <variant>

namespace contactsheet {

/// What the user asked for.
struct Options {
    corvane::URL folder;
    corvane::URL output;
    corvane::CGImageExportFormat format;
    /// The longest side of a thumbnail in pixels, and the cells of a row; chosen by the program when absent.
    std::optional<corvane::Int> edge = {};
    std::optional<corvane::Int> columns = {};
    bool entersSubfolders = true;
    /// A part of the names of the pictures that are drawn; empty for all.
    std::string filter = {};
    bool isReversed = false;
    bool isVerbose = false;
};

/// What to print instead of working: help that was asked for (status 0), or what is wrong with the arguments.
struct Usage {
    int status;
    std::string text;
};

std::variant<Options, Usage> parseOptions(std::span<char* const> arguments);

} // namespace contactsheet
