// SPDX-License-Identifier: Apache-2.0
#include "Console.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace contactsheet {

using corvane::Int;

void Console::progress(Int done, Int count)
{
    if (count <= 0)
        return;
    if (::isatty(STDERR_FILENO) == 0) {
        const Int tenth = done * 10 / count;
        if (tenth > tenthShown_)
            std::fprintf(stderr, "%lld of %lld pictures\n", static_cast<long long>(done),
                         static_cast<long long>(count));
        tenthShown_ = tenth;
        return;
    }
    // A terminal that is written to for every picture would be the slowest part of the work.
    const auto now = std::chrono::steady_clock::now();
    if (done < count && now - shownAt_ < std::chrono::milliseconds(100))
        return;
    shownAt_ = now;
    progressIsShown_ = true;
    std::fprintf(stderr, "\r\033[K%lld of %lld pictures", static_cast<long long>(done),
                 static_cast<long long>(count));
    std::fflush(stderr);
}

void Console::result(std::string_view line)
{
    endProgress();
    std::printf("%.*s\n", static_cast<int>(line.size()), line.data());
}

void Console::message(std::string_view line)
{
    endProgress();
    std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
}

void Console::endProgress()
{
    if (progressIsShown_)
        std::fputs("\r\033[K", stderr);
    progressIsShown_ = false;
}

std::string printable(std::string_view name)
{
    std::string text(name);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }, '?');
    return text;
}

} // namespace contactsheet
