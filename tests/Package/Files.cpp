// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/UTIType.h>

int main()
{
    using corvane::UTIType;
    const auto type = UTIType::fromFileExtension("JPG");
    return type && type->conforms(UTIType::image) ? 0 : 1;
}
