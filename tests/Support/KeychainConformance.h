// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Storage/Keychain.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvane::tests {

inline Data bytesOf(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

inline std::string textOf(DataView bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline KeychainItem keychainItem(std::string service, std::string account, std::string group = {})
{
    KeychainItem item;
    item.service = std::move(service);
    item.account = std::move(account);
    item.accessGroup = std::move(group);
    item.accessible = "when-unlocked";
    return item;
}

inline KeychainFilter keychainFilter(std::string service, std::string account)
{
    KeychainFilter filter;
    filter.service = std::move(service);
    filter.account = std::move(account);
    return filter;
}

/// The secret of the only match, or the status in brackets.
inline std::string secretIn(Keychain& keychain, const KeychainFilter& filter)
{
    std::vector<KeychainMatch> found;
    const OSStatus status = keychain.find(filter, {.secret = true}, found);
    if (status != errSecSuccess)
        return "[" + std::to_string(status) + "]";
    return found.size() == 1 ? textOf(found[0].secret.view())
                             : "[" + std::to_string(found.size()) + " matches]";
}

inline std::string secretIn(Keychain& keychain, std::string_view service, std::string_view account)
{
    return secretIn(keychain, keychainFilter(std::string(service), std::string(account)));
}

inline std::size_t countIn(Keychain& keychain, const KeychainFilter& filter)
{
    std::vector<KeychainMatch> found;
    const OSStatus status = keychain.find(filter, {}, found);
    EXPECT_EQ(status, found.empty() ? errSecItemNotFound : errSecSuccess);
    return found.size();
}

/// What every keychain does. It has to be empty, and is again afterwards.
inline void expectConformance(Keychain& keychain)
{
    const KeychainFilter all;
    EXPECT_EQ(countIn(keychain, all), 0U);
    EXPECT_EQ(keychain.remove(all), errSecItemNotFound);
    EXPECT_EQ(keychain.update(all, {}), errSecItemNotFound);

    // Identity is service, account and access group; the texts do not run into each other.
    KeychainItem mail = keychainItem("mail", "ana");
    mail.label = "Ana's mail ✉";
    mail.generic = "token";
    const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    EXPECT_EQ(keychain.add(mail, bytesOf("one")), errSecSuccess);
    KeychainItem other = mail;
    other.accessible = "always";
    other.isSynchronizable = true;
    EXPECT_EQ(keychain.add(other, bytesOf("two")), errSecDuplicateItem);
    EXPECT_EQ(keychain.add(keychainItem("mail", "ana", "team"), bytesOf("of the team")), errSecSuccess);
    EXPECT_EQ(keychain.add(keychainItem("maila", "na"), bytesOf("of na")), errSecSuccess);
    KeychainItem shared = keychainItem("mail", "bo");
    shared.isSynchronizable = true;
    shared.accessible = "always";
    EXPECT_EQ(keychain.add(shared, {}), errSecSuccess);

    // Whatever is present in a filter has to be equal; empty text is a value.
    KeychainFilter noGroup = keychainFilter("mail", "ana");
    noGroup.accessGroup = "";
    EXPECT_EQ(secretIn(keychain, noGroup), "one");
    EXPECT_EQ(secretIn(keychain, "mail", "ana"), "[2 matches]");
    EXPECT_EQ(secretIn(keychain, "mail", "bo"), "");
    EXPECT_EQ(secretIn(keychain, "maila", "na"), "of na");
    EXPECT_EQ(secretIn(keychain, "mai", "lana"), "[-25300]");
    const auto counted = [&](auto field, auto value) {
        KeychainFilter filter;
        filter.*field = value;
        return countIn(keychain, filter);
    };
    EXPECT_EQ(countIn(keychain, all), 4U);
    EXPECT_EQ(counted(&KeychainFilter::service, "mail"), 3U);
    EXPECT_EQ(counted(&KeychainFilter::account, "ana"), 2U);
    EXPECT_EQ(counted(&KeychainFilter::accessGroup, "team"), 1U);
    EXPECT_EQ(counted(&KeychainFilter::label, mail.label), 1U);
    EXPECT_EQ(counted(&KeychainFilter::generic, ""), 3U);
    EXPECT_EQ(counted(&KeychainFilter::accessible, "always"), 1U);
    EXPECT_EQ(counted(&KeychainFilter::isSynchronizable, true), 1U);
    EXPECT_EQ(counted(&KeychainFilter::isSynchronizable, false), 3U);
    std::vector<KeychainMatch> found;
    EXPECT_EQ(keychain.find(all, {.secret = true, .onlyOne = true}, found), errSecSuccess);
    EXPECT_EQ(found.size(), 1U);

    // The attributes come back as they were given, with dates.
    found.clear();
    ASSERT_EQ(keychain.find(noGroup, {.attributes = true}, found), errSecSuccess);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_TRUE(found[0].secret.isEmpty());
    const KeychainItem stored = found[0].item;
    EXPECT_GE(stored.created, before);
    EXPECT_GE(stored.modified, stored.created);
    mail.created = stored.created;
    mail.modified = stored.modified;
    EXPECT_EQ(stored, mail);

    // An update changes what it names, in all that match.
    std::string large(200'000, 'x');
    large[7] = '\0';
    const Data secret = bytesOf(large);
    KeychainChanges changes;
    changes.secret = secret;
    EXPECT_EQ(keychain.update(noGroup, changes), errSecSuccess);
    EXPECT_EQ(secretIn(keychain, noGroup), large);
    KeychainFilter ofAccount;
    ofAccount.account = "ana";
    changes = {};
    changes.label = "renamed";
    changes.generic = "";
    changes.accessible = "always";
    changes.isSynchronizable = true;
    EXPECT_EQ(keychain.update(ofAccount, changes), errSecSuccess);
    EXPECT_EQ(counted(&KeychainFilter::label, "renamed"), 2U);
    EXPECT_EQ(counted(&KeychainFilter::accessible, "always"), 3U);
    EXPECT_EQ(counted(&KeychainFilter::isSynchronizable, true), 3U);
    EXPECT_EQ(secretIn(keychain, noGroup), large);

    KeychainFilter ofService;
    ofService.service = "mail";
    EXPECT_EQ(keychain.remove(ofService), errSecSuccess);
    EXPECT_EQ(countIn(keychain, all), 1U);
    EXPECT_EQ(keychain.remove(all), errSecSuccess);
    EXPECT_EQ(countIn(keychain, all), 0U);
}

} // namespace corvane::tests
