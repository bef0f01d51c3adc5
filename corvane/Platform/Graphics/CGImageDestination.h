// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Graphics/CGImage.h>
#include <corvane/Platform/Graphics/CGImageProperties.h>

#include <memory>
#include <optional>
#include <string_view>

namespace corvane {

/// Writes images into a PNG, JPEG, TIFF or HEIC file or into memory.
///
///     auto out = CGImageDestination::create(URL::fromPath("/tmp/sea.jpg"), "public.jpeg", 1);
///     out->addImage(image, {{kCGImageDestinationLossyCompressionQuality, 0.8}});
///     if (!out->finalize())
///         report("disk full?");
///
/// The file appears, or replaces what its name held, in one step at the end of a successful `finalize`;
/// before it and after a failure the name holds what it held. Options: quality (JPEG and HEIC), TIFF
/// compression, orientation and resolution (not for HEIC, whose orientation is turned into the format's own
/// transformation).
///
/// PNG and TIFF keep every pixel; TIFF stores alpha as it is in memory, PNG divides it out. JPEG has no
/// alpha: a translucent image is drawn over white. HEIC is lossy at every quality and keeps alpha, lossy too.
/// All are sRGB and are marked so where the format can say it. Thread-compatible.
class CORVANE_API CGImageDestination {
public:
    /// `type` is a type identifier ("public.png", "public.jpeg", "public.tiff", "public.heic"); `count` how
    /// many images will be added: 1, or more for TIFF and HEIC. Absent for another type or count, for a URL
    /// that is not a file URL, and when its folder does not exist or cannot be written, or it names a folder.
    /// Options are those of `addImage`, for every image.
    static std::optional<CGImageDestination> create(const URL& url, std::string_view type, Int count,
                                                    const PropertyDictionary& options = {});
    /// `data` must outlive the destination; what was in it is replaced by a successful `finalize`.
    static std::optional<CGImageDestination> create(Data& data, std::string_view type, Int count,
                                                    const PropertyDictionary& options = {});

    CGImageDestination(CGImageDestination&&) noexcept;
    CGImageDestination& operator=(CGImageDestination&&) noexcept;
    ~CGImageDestination();

    /// Encodes `image`. Where that fails, or more than `count` are added, `finalize` reports it.
    void addImage(const CGImage& image, const PropertyDictionary& options = {});

    /// Writes everything out. False when an image could not be encoded, when not as many as announced were
    /// added, when the disk is full or not writable, and at a second call.
    bool finalize();

private:
    struct State;
    explicit CGImageDestination(std::unique_ptr<State> state) noexcept;

    std::unique_ptr<State> state_;
};

} // namespace corvane
