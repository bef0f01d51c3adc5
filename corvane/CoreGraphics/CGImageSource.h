// SPDX-License-Identifier: Apache-2.0
#pragma once

// `create`, `thumbnail`, `image` and `properties`, with options that default to none, are members of the
// class.
#include <corvane/Platform/Graphics/CGImageSource.h>
