// SPDX-License-Identifier: Apache-2.0
#include "Commands.h"

#include "SecretInput.h"
#include <corvane/Platform/Storage/SecItem.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace secrets {

namespace {

using namespace corvane;

int exitStatus(OSStatus status)
{
    switch (status) {
    case errSecSuccess:
        return 0;
    case errSecItemNotFound:
        return 1;
    case errSecUserCanceled:
    case errSecInteractionNotAllowed:
    case errSecAuthFailed:
    case errSecNotAvailable:
    case errSecStoredElsewhere:
    case errSecTimedOut:
        return 3;
    default:
        return 4;
    }
}

// Without the control characters that a name may hold and a terminal would obey.
std::string printable(std::string_view name)
{
    std::string text(name);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }, '?');
    return text;
}

int report(const Arguments& arguments, OSStatus status)
{
    if (status == errSecSuccess)
        return 0;
    if (status == errSecItemNotFound && arguments.command != Command::list) {
        std::fprintf(stderr, "corvane-secrets: There is no secret \"%s\" of %s.\n",
                     printable(arguments.name).c_str(), printable(arguments.service).c_str());
        return exitStatus(status);
    }
    if (status == errSecParam) {
        std::fputs("corvane-secrets: The names of services and secrets are UTF-8 text.\n", stderr);
        return 2;
    }
    const std::string_view text = description(status);
    std::fprintf(stderr, "corvane-secrets: %.*s", static_cast<int>(text.size()), text.data());
    // One that does not answer would have to be waited for once more.
    const KeychainUse use =
        status == errSecTimedOut ? KeychainUse() : sharedKeychain()->use(arguments.service);
    if (!use.name.empty())
        std::fprintf(stderr, " (%s)", use.name.c_str());
    std::fputs(".\n", stderr);
    return exitStatus(status);
}

// Of one secret as `UserKeychain` has it, so that an application finds what was stored for it here.
PropertyDictionary queryFor(const Arguments& arguments)
{
    return {{kSecClass, kSecClassGenericPassword}, {kSecAttrService, arguments.service},
            {kSecAttrAccount, arguments.name},     {kSecAttrLabel, arguments.name},
            {kSecAttrGeneric, arguments.name},     {kSecAttrSynchronizable, kSecAttrSynchronizableAny}};
}

int store(const Arguments& arguments)
{
    std::string problem;
    const auto lastLineFeed = arguments.isExact ? LastLineFeed::keep : LastLineFeed::drop;
    std::optional<SecretBytes> secret = readSecret(printable(arguments.name), lastLineFeed, problem);
    if (!secret) {
        std::fprintf(stderr, "corvane-secrets: %s\n", problem.c_str());
        return 2;
    }
    PropertyDictionary item = queryFor(arguments);
    PropertyValue& value = item[kSecValueData] = secret->release();
    OSStatus status = SecItemAdd(item);
    if (status == errSecDuplicateItem) {
        PropertyDictionary changes;
        changes.insert(item.extract(kSecValueData));
        status = SecItemUpdate(queryFor(arguments), changes);
        wipe(*changes[kSecValueData].asData());
    } else {
        wipe(*value.asData());
    }
    return report(arguments, status);
}

bool writeAll(DataView bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        bytes = bytes.subspan(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

int lookup(const Arguments& arguments)
{
    PropertyDictionary query = queryFor(arguments);
    query[kSecReturnData] = kCFBooleanTrue;
    std::optional<PropertyValue> result;
    const OSStatus status = SecItemCopyMatching(query, &result);
    if (status != errSecSuccess || !result || !result->asData())
        return report(arguments, status == errSecSuccess ? errSecInternalComponent : status);
    const SecretBytes secret(std::move(*result->asData()));
    // Not through a stream, whose buffer would keep a copy.
    bool isWritten = writeAll(secret.view());
    if (isWritten && ::isatty(STDOUT_FILENO) != 0)
        isWritten = writeAll(std::as_bytes(std::span("\n", 1)));
    if (!isWritten)
        std::perror("corvane-secrets: The secret cannot be written");
    return isWritten ? 0 : 4;
}

std::string dateText(Date date)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
    std::tm local{};
    char text[32] = "";
    if (::localtime_r(&seconds, &local))
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

int list(const Arguments& arguments)
{
    std::optional<PropertyValue> result;
    const OSStatus status = SecItemCopyMatching({{kSecClass, kSecClassGenericPassword},
                                                 {kSecAttrService, arguments.service},
                                                 {kSecAttrSynchronizable, kSecAttrSynchronizableAny},
                                                 {kSecMatchLimit, kSecMatchLimitAll},
                                                 {kSecReturnAttributes, kCFBooleanTrue}},
                                                &result);
    if (status != errSecSuccess)
        return status == errSecItemNotFound ? 0 : report(arguments, status);
    std::map<std::string, std::string> lines;
    for (const PropertyValue& found : *result->asArray()) {
        const PropertyDictionary& item = *found.asDictionary();
        lines[*item.at(kSecAttrAccount).asString()] = dateText(*item.at(kSecAttrModificationDate).asDate());
    }
    for (const auto& [name, date] : lines)
        std::printf(arguments.isLong ? "%s  %s\n" : "%.0s%s\n", date.c_str(), printable(name).c_str());
    return std::fflush(stdout) == 0 ? 0 : 4;
}

int showStatus(const Arguments& arguments)
{
    const KeychainUse use = sharedKeychain()->use(arguments.service);
    std::printf("%s: %s\n", use.name.empty() ? "undecided" : use.name.c_str(), use.why.c_str());
    if (use.status != errSecSuccess) {
        const std::string_view text = description(use.status);
        std::printf("%.*s.\n", static_cast<int>(text.size()), text.data());
    }
    return exitStatus(use.status);
}

int runCommand(const Arguments& arguments)
{
    switch (arguments.command) {
    case Command::store:
        return store(arguments);
    case Command::lookup:
        return lookup(arguments);
    case Command::list:
        return list(arguments);
    case Command::remove:
        return report(arguments, SecItemDelete(queryFor(arguments)));
    case Command::status:
        return showStatus(arguments);
    }
    return 2;
}

} // namespace

int run(const Arguments& arguments)
{
    KeychainOptions options;
    options.wait = arguments.wait;
    setSharedKeychain(std::make_shared<SystemKeychain>(options, arguments.keychain));
    const int status = runCommand(arguments);
    setSharedKeychain(nullptr); // closes a vault, so that its database is whole in one file
    return status;
}

} // namespace secrets
