// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/FileManager.h>
#include <corvane/Platform/Storage/MemoryKeychain.h>
#include <corvane/Platform/Storage/UserDefaults.h>
#include <corvane/UserKeychain/UserKeychain.h>

#include <unistd.h>

#include <memory>
#include <string>

int main()
{
    using namespace corvane;
    const std::string folder =
        FileManager::temporaryDirectory() + "/corvane-consumer-" + std::to_string(::getpid());
    const UserDefaults defaults("consumer", URL::fromPath(folder));
    const bool isStored = defaults.setObject(42, "answer") && defaults.integerForKey("answer") == 42 &&
                          defaults.state() == UserDefaultsState::ready;
    FileManager::removeItem(folder);

    setSharedKeychain(std::make_shared<MemoryKeychain>());
    const UserKeychain keychain("org.example.consumer");
    const bool isKept = keychain.set("s3cret", {"token"}) && keychain.string({"token"}) == "s3cret";
    return isStored && isKept ? 0 : 1;
}
