// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/MemoryKeychain.h>

#include <algorithm>

namespace corvane {

OSStatus MemoryKeychain::find(const KeychainFilter& filter, KeychainFetch fetch,
                              std::vector<KeychainMatch>& found)
{
    const MutexLock lock(mutex_);
    if (status_ != errSecSuccess)
        return status_;
    OSStatus status = errSecItemNotFound;
    for (const KeychainMatch& match : items_) {
        if (!filter.matches(match.item))
            continue;
        found.push_back({fetch.attributes ? match.item : KeychainItem(),
                         fetch.secret ? SecretBytes(match.secret.view()) : SecretBytes()});
        status = errSecSuccess;
        if (fetch.onlyOne)
            break;
    }
    return status;
}

OSStatus MemoryKeychain::add(const KeychainItem& item, DataView secret)
{
    const MutexLock lock(mutex_);
    if (status_ != errSecSuccess)
        return status_;
    const bool exists = std::any_of(items_.begin(), items_.end(), [&item](const KeychainMatch& match) {
        return match.item.service == item.service && match.item.account == item.account &&
               match.item.accessGroup == item.accessGroup;
    });
    if (exists)
        return errSecDuplicateItem;
    items_.push_back({item, SecretBytes(secret)});
    items_.back().item.created = items_.back().item.modified = currentDate();
    return errSecSuccess;
}

OSStatus MemoryKeychain::update(const KeychainFilter& filter, const KeychainChanges& changes)
{
    const MutexLock lock(mutex_);
    if (status_ != errSecSuccess)
        return status_;
    OSStatus status = errSecItemNotFound;
    for (KeychainMatch& match : items_) {
        if (!filter.matches(match.item))
            continue;
        changes.apply(match.item);
        if (changes.secret)
            match.secret = SecretBytes(*changes.secret);
        match.item.modified = currentDate();
        status = errSecSuccess;
    }
    return status;
}

OSStatus MemoryKeychain::remove(const KeychainFilter& filter)
{
    const MutexLock lock(mutex_);
    if (status_ != errSecSuccess)
        return status_;
    const auto matches = [&filter](const KeychainMatch& match) { return filter.matches(match.item); };
    return std::erase_if(items_, matches) > 0 ? errSecSuccess : errSecItemNotFound;
}

KeychainUse MemoryKeychain::use(std::string_view)
{
    const MutexLock lock(mutex_);
    return {"memory", status_, "The program keeps its secrets in memory."};
}

void MemoryKeychain::setStatus(OSStatus status)
{
    const MutexLock lock(mutex_);
    status_ = status;
}

} // namespace corvane
