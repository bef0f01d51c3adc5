// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/Array.h>
#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Base/Fatal.h>

#include <string>

namespace corvane::detail {

void checkIndexes(const char* operation, const IndexSet& indexes, Int count)
{
    if (const auto last = indexes.last(); last && *last >= count) [[unlikely]]
        fatalError(std::string(operation) + ": index " + std::to_string(*last) +
                   " is out of range in an array of " + std::to_string(count));
}

void failDestination(Int to, Int moved, Int count)
{
    fatalError("move: destination " + std::to_string(to) + " is out of range for " + std::to_string(moved) +
               " of the elements of an array of " + std::to_string(count));
}

void checkPointer(const void* ptr, Int count)
{
    if (count < 0 || (!ptr && count > 0)) [[unlikely]]
        fatalError("An array cannot be made of " + std::to_string(count) + " elements at " +
                   (ptr ? "a pointer" : "a null pointer"));
}

std::vector<Int> distinctSampleIndexes(Int count, Int drawCount, const std::function<std::uint32_t()>& random)
{
    std::vector<Int> result;
    if (drawCount <= 0 || count <= 0)
        return result;
    // Single precision and hundredths are part of what is promised: they decide which positions can be drawn.
    const auto indexOf = [count](std::uint32_t hundredths) {
        const float fraction = static_cast<float>(hundredths) / 100.0F;
        return checkedInt(fraction * static_cast<float>(count) + 0.0F);
    };
    // Once every position that has a draw has been drawn, further draws change nothing.
    IndexSet possible;
    for (std::uint32_t hundredths = 0; hundredths < 100; ++hundredths)
        possible.insert(indexOf(hundredths));
    IndexSet drawn;
    for (Int draw = 0; draw < drawCount && drawn.count() < possible.count(); ++draw) {
        const Int index = indexOf(random() % 100);
        if (drawn.contains(index))
            continue;
        drawn.insert(index);
        result.push_back(index);
    }
    return result;
}

} // namespace corvane::detail
