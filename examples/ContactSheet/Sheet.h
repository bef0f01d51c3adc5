// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Graphics/CGImage.h>

#include <optional>
#include <span>
#include <string>

namespace contactsheet {

/// A picture on its way to the sheet: its thumbnail, or why there is none.
struct Picture {
    corvane::URL url;
    std::optional<corvane::CGImage> thumbnail;
    std::string failure;
};

/// Where the cells of a sheet are, in pixels.
struct Layout {
    corvane::Int edge;
    corvane::Int columns;
    corvane::Int rows;

    /// For `count` pictures, at least one. What the user did not ask for is chosen: columns so that the sheet
    /// is a little wider than high, an edge small enough for the sheet to stay of a sensible size. Absent
    /// when what was asked for makes a sheet larger than an image can be.
    static std::optional<Layout> fitting(corvane::Int count, std::optional<corvane::Int> edge,
                                         std::optional<corvane::Int> columns);

    corvane::Int cellWidth() const { return edge + gap; }
    corvane::Int cellHeight() const { return edge + captionHeight + gap; }
    corvane::Int width() const { return columns * cellWidth() + gap; }
    corvane::Int height() const { return rows * cellHeight() + gap; }

    static constexpr corvane::Int gap = 12;
    static constexpr corvane::Int captionHeight = 18;
};

/// The thumbnails of those pictures that have one, in their order, row by row, each centred in its cell above
/// its name. Absent when memory is short.
std::optional<corvane::CGImage> drawSheet(std::span<const Picture> pictures, const Layout& layout);

} // namespace contactsheet
