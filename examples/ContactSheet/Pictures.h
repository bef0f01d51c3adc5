// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"
#include <corvane/Platform/Base/URL.h>

#include <functional>
#include <string>
#include <vector>

namespace contactsheet {

/// The pictures to draw, of those that were found: in Finder order by their paths, or the other way round, and
/// only those whose names contain the text of the options. `tell` gets a line for each notification on the way.
std::vector<corvane::URL> chosenPictures(std::vector<corvane::URL> found, const Options& options,
                                         const std::function<void(std::string)>& tell);

} // namespace contactsheet
