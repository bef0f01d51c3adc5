// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sched.h>

namespace corvane::tests {

/// How many processors this process may run on. With one, a block that computes until another has run never ends.
inline int usableProcessors()
{
    cpu_set_t processors;
    return sched_getaffinity(0, sizeof processors, &processors) == 0 ? CPU_COUNT(&processors) : 1;
}

} // namespace corvane::tests
