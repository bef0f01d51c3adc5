// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/FinderOrder.h>

#include <string>
#include <vector>

int main()
{
    std::vector<std::string> names{"file10", "File2"};
    corvane::finderSort(names);
    return names.front() == "File2" ? 0 : 1;
}
