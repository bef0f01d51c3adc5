// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace corvane {
class RunLoop;

namespace detail {

/// The loop of the thread that submits delayed blocks. Internal to the dispatch layer.
RunLoop& timerThread();

} // namespace detail
} // namespace corvane
