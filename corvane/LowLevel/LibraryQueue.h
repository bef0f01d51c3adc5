// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>

#include <string_view>

namespace corvane::detail {

/// A new queue under the label that every queue of the library carries: "org.corvane.Corvane.SyncQueue" for
/// the name "SyncQueue". Thread-safe.
CORVANE_API DispatchQueue libraryQueue(std::string_view name, DispatchQueue::Attributes attributes,
                                       DispatchQoS qos = DispatchQoS::unspecified);

} // namespace corvane::detail
