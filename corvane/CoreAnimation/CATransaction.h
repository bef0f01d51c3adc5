// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Block.h>
#include <corvane/Platform/Graphics/CATransaction.h>

namespace corvane {

/// Runs `block` in a transaction of its own whose changes are animated for `during` seconds; with exactly 0
/// they are not animated at all. With a delay `in` of exactly 0 this happens at once on the caller's thread,
/// with any other on the main queue, that many seconds from now.
///
///     animate(TimeInterval(0.5), [&] { layer.setBounds(wide); });
///
/// Thread-safe.
CORVANE_API void animate(TimeInterval in, TimeInterval during, Block block);
/// The same without delay.
CORVANE_API void animate(TimeInterval during, Block block);

} // namespace corvane
