// SPDX-License-Identifier: Apache-2.0
// A process that writes into a vault until it is killed, and one that looks whether all it said is there.
#include <corvane/Platform/Storage/VaultKeychain.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace corvane;

constexpr const char* absent = "absent";

KeychainFilter filterOf(const std::string& name, const std::string& account)
{
    KeychainFilter filter;
    filter.service = name;
    filter.account = account;
    return filter;
}

// Its number, "absent", or the status.
std::string stored(VaultKeychain& vault, const std::string& name, const std::string& account)
{
    std::vector<KeychainMatch> found;
    const OSStatus status = vault.find(filterOf(name, account), {.secret = true, .onlyOne = true}, found);
    if (status == errSecItemNotFound)
        return absent;
    if (status != errSecSuccess)
        return "status " + std::to_string(status);
    const DataView bytes = found[0].secret.view();
    const std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return text.substr(0, text.find(' '));
}

void say(const std::string& line)
{
    if (::write(STDOUT_FILENO, line.data(), line.size()) < 0)
        std::exit(1);
}

// Adds, updates and removes, and says each write that it was told is done.
void write(VaultKeychain& vault, const std::string& name)
{
    const std::string before = stored(vault, name, "last");
    Int number = before == absent ? 0 : std::atoll(before.c_str());
    const auto put = [&](const std::string& account) {
        const std::string text =
            std::to_string(number) + " " + std::string(static_cast<std::size_t>(number % 900), 'x');
        KeychainItem item;
        item.service = name;
        item.account = account;
        KeychainChanges changes;
        changes.secret = std::as_bytes(std::span(text));
        OSStatus status = vault.add(item, *changes.secret);
        if (status == errSecDuplicateItem)
            status = vault.update(filterOf(name, account), changes);
        if (status == errSecSuccess)
            say(account + " " + std::to_string(number) + "\n");
    };
    for (;;) {
        ++number;
        put("last");
        const std::string account = std::to_string(number % 7);
        if (number % 3 != 0)
            put(account);
        else if (vault.remove(filterOf(name, account)) == errSecSuccess)
            say(account + " " + absent + "\n");
    }
}

// What was said last of an account holds, or what was done after it and not said any more.
int verify(VaultKeychain& vault, const std::string& name, const char* log)
{
    std::map<std::string, std::string> said;
    std::ifstream lines(log);
    std::string account;
    std::string number;
    while (lines >> account >> number)
        said[account] = number;
    const OSStatus status = vault.use(name).status;
    if (status != errSecSuccess) {
        std::printf("the vault refuses with status %d\n", status);
        return 1;
    }
    // At most one write was done and not said any more: the one that follows what was said last.
    const Int last = said.contains("last") ? std::atoll(said["last"].c_str()) : 0;
    int failures = 0;
    for (const auto& [key, value] : said) {
        const std::string now = stored(vault, name, key);
        std::string unsaid = value;
        if (key == "last")
            unsaid = std::to_string(last + 1);
        else if (key == std::to_string(last % 7))
            unsaid = last % 3 != 0 ? std::to_string(last) : absent;
        if (now != value && now != unsaid) {
            std::printf("%s: said %s, is %s\n", key.c_str(), value.c_str(), now.c_str());
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4)
        return 2;
    KeychainOptions options;
    options.folder = argv[2];
    VaultKeychain vault(options);
    if (std::string(argv[1]) == "write")
        write(vault, argv[3]);
    return argc > 4 ? verify(vault, argv[3], argv[4]) : 2;
}
