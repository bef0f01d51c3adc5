// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/Bundle.h>
#include <corvane/LowLevel/LibraryQueue.h>

namespace corvane::detail {

DispatchQueue libraryQueue(std::string_view name, DispatchQueue::Attributes attributes, DispatchQoS qos)
{
    return DispatchQueue(uniqueID(Bundle::library(), name), qos, attributes);
}

} // namespace corvane::detail
