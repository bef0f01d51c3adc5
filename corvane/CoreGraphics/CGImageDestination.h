// SPDX-License-Identifier: Apache-2.0
#pragma once

// `create`, `addImage` and `finalize`, with options that default to none, are members of the class.
#include <corvane/Platform/Graphics/CGImageDestination.h>
