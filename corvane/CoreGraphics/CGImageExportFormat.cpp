// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGImageExportFormat.h>
#include <corvane/FilesAndData/UTIType.h>
#include <corvane/Platform/Base/Fatal.h>

#include <algorithm>
#include <string>

namespace corvane {

std::optional<CGImageExportFormat> exportFormatFromPathExt(std::string_view pathExt)
{
    std::string lower(pathExt);
    std::ranges::transform(lower, lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    });
    if (lower == "jpg" || lower == "jpeg")
        return CGImageExportFormat::jpg;
    if (lower == "png")
        return CGImageExportFormat::png;
    if (lower == "tiff" || lower == "tif")
        return CGImageExportFormat::tiff;
    if (lower == "heic")
        return CGImageExportFormat::heic;
    return std::nullopt;
}

std::string_view fileExtension(CGImageExportFormat format)
{
    switch (format) {
    case CGImageExportFormat::png:
        return "png";
    case CGImageExportFormat::jpg:
        return "jpg";
    case CGImageExportFormat::tiff:
        return "tiff";
    case CGImageExportFormat::heic:
        return "heic";
    }
    fatalError("A value that is no export format was given as one");
}

std::string_view cgType(CGImageExportFormat format)
{
    switch (format) {
    case CGImageExportFormat::png:
        return UTIType::png.identifier();
    case CGImageExportFormat::jpg:
        return UTIType::jpeg.identifier();
    case CGImageExportFormat::tiff:
        return UTIType::tiff.identifier();
    case CGImageExportFormat::heic:
        return "public.heic";
    }
    fatalError("A value that is no export format was given as one");
}

} // namespace corvane
