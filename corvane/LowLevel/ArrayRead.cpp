// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/ArrayRead.h>

namespace corvane::detail {

constinit thread_local ArrayReadFrame* innermostArrayRead = nullptr;

} // namespace corvane::detail
