// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

#include <chrono>
#include <string>
#include <string_view>

namespace contactsheet {

/// Progress on standard error: on a terminal one line that is written over, otherwise a plain line for each
/// tenth. Results and messages are whole lines. Main-thread.
class Console {
public:
    void progress(corvane::Int done, corvane::Int count);
    /// A line on standard output, after the progress line has gone.
    void result(std::string_view line);
    /// A line on standard error, the same.
    void message(std::string_view line);

private:
    void endProgress();

    bool progressIsShown_ = false;
    corvane::Int tenthShown_ = 0;
    std::chrono::steady_clock::time_point shownAt_{};
};

/// `name` without the control characters that a file's name may hold and a terminal would obey.
std::string printable(std::string_view name);

} // namespace contactsheet
