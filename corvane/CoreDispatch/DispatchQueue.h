// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>

namespace corvane {

/// Runs `block` on `queue`: when `synchronized`, as `queue.sync` does, returning after it (never from inside
/// the same serial queue); otherwise as `queue.async` does, returning at once. Thread-safe.
CORVANE_API void execute(const DispatchQueue& queue, bool synchronized, Block block);

} // namespace corvane
