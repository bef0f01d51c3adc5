// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreDispatch/DispatchQueue.h>

namespace corvane {

void execute(const DispatchQueue& queue, bool synchronized, Block block)
{
    if (synchronized)
        queue.sync(block);
    else
        queue.async(std::move(block));
}

} // namespace corvane
