// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>

namespace corvane {

/// How changes of layers are to be shown: for how long they are animated, or whether at all. A record that a
/// host which draws layers reads when it notices a change; nothing here draws or animates.
///
///     CATransaction::begin();
///     CATransaction::setAnimationDuration(TimeInterval(1));
///     layer.setBounds(wide); // a host reads animationDuration() here
///     CATransaction::commit();
///
/// Transactions nest. One starts with the settings of the one around it, and its own end with it. Every
/// thread has its own and, outside of all, 0.25 s with implicit actions. Thread-safe.
class CORVANE_API CATransaction {
public:
    CATransaction() = delete;

    static void begin();
    /// Without a `begin()` before it on this thread it stops the process.
    static void commit();

    static TimeInterval animationDuration();
    static void setAnimationDuration(TimeInterval duration);
    /// Whether changes take effect without animation.
    static bool disableActions();
    static void setDisableActions(bool disable);
};

} // namespace corvane
