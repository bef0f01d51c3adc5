// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Graphics/ImageCodec.h>

namespace corvane::images {

/// Takes orientation and resolution, where they are stated and make sense, from an EXIF block (which begins
/// with "II" or "MM") into `header`. Any bytes may be given.
void readExif(DataView exif, ImageHeader& header, bool resolutionToo);

/// An EXIF block that states `orientation`.
Data makeExif(int orientation);

} // namespace corvane::images
