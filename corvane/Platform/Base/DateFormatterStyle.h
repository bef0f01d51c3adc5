// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace corvane {

/// How much of a date or a time its text shows. Stored by number; one that no case has is kept as it is.
enum class DateFormatterStyle : std::uint64_t { none, short_, medium, long_, full };

} // namespace corvane
