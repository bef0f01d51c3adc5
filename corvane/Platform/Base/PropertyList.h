// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/Types.h>

#include <optional>

namespace corvane {

/// Reads an XML property list, the form of an `Info.plist`:
///
///     <plist version="1.0"><dict><key>CFBundleName</key><string>Gallery</string></dict></plist>
///
/// Absent for anything that is not one: broken XML, an unknown element, a dictionary without a value for a
/// key, a number, date or base64 text that cannot be read, more than 256 values inside one another. A
/// document that declares entities is refused, so a small text never becomes a large value, and nothing
/// outside the bytes is read. Of two equal keys the later holds. Never throws on account of its input;
/// linear; thread-safe.
CORVANE_API std::optional<PropertyValue> readPropertyList(DataView xml);

} // namespace corvane
