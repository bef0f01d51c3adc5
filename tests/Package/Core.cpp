// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>

int main()
{
    using namespace corvane;
    int value = 0;
    const DispatchQueue queue("consumer");
    queue.async([&value] { value = 42; });
    const bool isInOrder = queue.sync([&value] { return value == 42; });
    return isInOrder && Bundle::library().bundleIdentifier() == "org.corvane.Corvane" ? 0 : 1;
}
