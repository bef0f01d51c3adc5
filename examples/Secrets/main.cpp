// SPDX-License-Identifier: Apache-2.0
// Secrets from the command line, for a server without a desktop as well.
#include "Arguments.h"
#include "Commands.h"

#include <sys/prctl.h>
#include <sys/resource.h>

#include <cstdio>
#include <variant>

int main(int argc, char** argv)
{
    // Secrets pass through this process: no core dump of it, and no look into it by others.
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);

    const auto arguments =
        secrets::parseArguments(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
    if (const auto* usage = std::get_if<secrets::Usage>(&arguments)) {
        std::fputs(usage->text.c_str(), usage->status == 0 ? stdout : stderr);
        return usage->status;
    }
    return secrets::run(std::get<secrets::Arguments>(arguments));
}
