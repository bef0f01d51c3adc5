// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <optional>
#include <string_view>

namespace corvane {

/// The formats in which an image is exported. Thread-safe, as is everything here.
///
///     auto format = exportFormatFromPathExt("TIF");   // CGImageExportFormat::tiff
///     fileExtension(*format);                         // "tiff", however it was chosen
enum class CGImageExportFormat { png = 0, jpg = 1, tiff = 2, heic = 3 };

/// The format that the extension (without a full stop) names: "jpg" or "jpeg", "png", "tiff" or "tif",
/// "heic", whatever the case. Absent for anything else.
CORVANE_API std::optional<CGImageExportFormat> exportFormatFromPathExt(std::string_view pathExt);

/// "png", "jpg", "tiff" or "heic".
CORVANE_API std::string_view fileExtension(CGImageExportFormat format);

/// The type identifier for an image destination: "public.png", "public.jpeg", "public.tiff" or "public.heic".
CORVANE_API std::string_view cgType(CGImageExportFormat format);

} // namespace corvane
