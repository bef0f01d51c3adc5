// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Arguments.h"

namespace secrets {

/// Does it, says on standard error what went wrong, and gives the exit status.
int run(const Arguments& arguments);

} // namespace secrets
