// SPDX-License-Identifier: Apache-2.0
#pragma once

// Libraries are built with hidden visibility; what a host may call is marked with this. On ELF the same
// attribute serves the building and the using side, so one macro is enough for every component.
#define CORVANE_API __attribute__((visibility("default")))
