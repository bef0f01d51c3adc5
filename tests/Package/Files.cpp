// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/AtomicFile.h>

int main()
{
    std::error_code error;
    const auto file = corvane::AtomicFile::create("/dev/null/sheet.png", error);
    return !file && error ? 0 : 1;
}
