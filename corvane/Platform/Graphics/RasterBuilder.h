// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Graphics/CGImage.h>
#include <corvane/Platform/Graphics/ColourMatch.h>

#include <optional>
#include <vector>

namespace corvane::images {

struct PixelSize {
    Int width = 0;
    Int height = 0;

    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// `size` reduced in proportion until its longer side is at most `edge` (0: not at all). Never enlarged; a
/// side has one pixel at least.
PixelSize fitting(PixelSize size, Int edge);

/// Makes an image of the rows that a decoder delivers from the top down, reduced on the way: rows are
/// averaged into the smaller image as they come, so that a large one is never in memory as a whole.
///
///     RasterBuilder builder(Layout::rgb, {6000, 4000}, {256, 171}, profile);
///     while (builder.wantsMore())
///         decodeInto(builder.row()), builder.commit();
///     return std::move(builder).finish(orientation);
class RasterBuilder {
public:
    RasterBuilder(Layout layout, PixelSize from, PixelSize to, DataView profile);

    /// False when there is not so much memory: nothing else may be called then.
    explicit operator bool() const noexcept { return static_cast<bool>(result_); }
    bool wantsMore() const noexcept { return rowsDone_ < from_.height; }
    /// Where the next row goes: the layout's samples for each pixel of the width.
    std::uint8_t* row();
    /// The row is written.
    void commit();
    /// Absent while rows are missing.
    std::optional<CGImage> finish(int orientation) &&;

private:
    void addBand();
    void addReducedRow(double from, double to);
    void emit();

    void beginBand();

    // The columns of the source that go into a column of the result: whole but for the first and the last.
    struct Share {
        Int first, last;
        float ofFirst, ofLast;
    };

    Layout layout_;
    PixelSize from_;
    PixelSize to_;
    ColourMatch match_;
    PixelMemory result_;
    Int rowsDone_ = 0;
    bool reduces_;
    std::vector<std::uint8_t> scratch_; // one row as it comes

    // Rows that go into the same row of the result are first summed as they are, which costs next to nothing; a row
    // that two of them share is a band of its own.
    Int bandStart_ = 0;
    Int bandEnd_ = 0;
    std::vector<std::uint16_t> sums_; // one a sample
    std::vector<Share> shares_;
    std::vector<float> reduced_;     // the band's average at the width of the result
    std::vector<float> accumulated_; // the row of the result in the making
    Int resultRow_ = 0;
};

/// `image` turned and mirrored as EXIF's `orientation` asks, so that it stands upright.
std::optional<CGImage> oriented(PixelMemory image, int orientation);

} // namespace corvane::images
