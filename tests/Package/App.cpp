// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/FileManager.h>
#include <corvane/Platform/Storage/UserDefaults.h>

#include <unistd.h>

#include <string>

int main()
{
    using namespace corvane;
    const std::string folder =
        FileManager::temporaryDirectory() + "/corvane-consumer-" + std::to_string(::getpid());
    const UserDefaults defaults("consumer", URL::fromPath(folder));
    const bool isStored = defaults.setObject(42, "answer") && defaults.integerForKey("answer") == 42;
    FileManager::removeItem(folder);
    return isStored && defaults.state() == UserDefaultsState::ready ? 0 : 1;
}
