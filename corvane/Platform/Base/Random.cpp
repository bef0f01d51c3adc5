// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Random.h>

#include <stdlib.h>

namespace corvane {

std::uint32_t randomUInt32() noexcept
{
    return ::arc4random();
}

std::uint32_t randomUInt32Below(std::uint32_t bound) noexcept
{
    return ::arc4random_uniform(bound);
}

void fillRandom(std::span<std::byte> bytes) noexcept
{
    if (!bytes.empty()) // nothing has no address to give
        ::arc4random_buf(bytes.data(), bytes.size());
}

} // namespace corvane
