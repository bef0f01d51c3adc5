// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/KeychainPins.h>

#include <sodium.h>

#include <array>
#include <cerrno>

namespace corvane {

namespace {

constexpr const char* lockName = "pins.lock";

std::string noteName(const std::string& service)
{
    std::array<unsigned char, 16> hash{};
    crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(service.data()),
                       service.size(), nullptr, 0);
    std::array<char, 2 * hash.size() + 1> hex{};
    sodium_bin2hex(hex.data(), hex.size(), hash.data(), hash.size());
    return std::string("pin-") + hex.data();
}

} // namespace

KeychainPins::KeychainPins(const KeychainOptions& options)
    : path_(PrivateFolder::pathFor(options.folder)), wait_(options.wait)
{}

OSStatus KeychainPins::readNote(const std::string& service, std::string& keychain) const
{
    keychain.clear();
    PrivateFolder folder;
    const OSStatus status =
        path_ ? PrivateFolder::open(*path_, PrivateFolder::Creation::never, folder) : errSecItemNotFound;
    if (status != errSecSuccess)
        return status == errSecItemNotFound ? errSecSuccess : status;
    SecretBytes content;
    switch (folder.read(noteName(service), 64, content)) {
    case PrivateFolder::FileState::missing:
        return errSecSuccess;
    case PrivateFolder::FileState::sound:
        keychain.assign(reinterpret_cast<const char*>(content.view().data()), content.view().size());
        return keychain.empty() ? errSecIO : errSecSuccess;
    default:
        return errSecIO; // to go on without it could mean a second copy elsewhere
    }
}

OSStatus KeychainPins::find(const std::string& service, std::string& keychain)
{
    {
        const MutexLock lock(mutex_);
        const auto known = known_.find(service);
        if (known != known_.end()) {
            keychain = known->second;
            return errSecSuccess;
        }
    }
    const OSStatus status = readNote(service, keychain);
    if (status == errSecSuccess && !keychain.empty()) {
        const MutexLock lock(mutex_);
        known_.emplace(service, keychain);
    }
    return status;
}

OSStatus KeychainPins::pin(const std::string& service, const std::string& keychain,
                           const std::function<OSStatus()>& store)
{
    if (!path_)
        return errSecIO;
    PrivateFolder folder;
    if (const OSStatus status = PrivateFolder::open(*path_, PrivateFolder::Creation::allowed, folder);
        status != errSecSuccess)
        return status;
    const Descriptor lock = folder.lock(lockName, wait_);
    if (!lock)
        return errno == EWOULDBLOCK ? errSecTimedOut : errno == ENOSPC ? errSecDiskFull : errSecIO;
    std::string noted;
    if (const OSStatus status = readNote(service, noted); status != errSecSuccess)
        return status;
    if (!noted.empty())
        return noted == keychain ? store() : errSecStoredElsewhere;
    const DataView name = std::as_bytes(std::span(keychain));
    if (folder.write(noteName(service), name) != PrivateFolder::Written::now)
        return errno == ENOSPC ? errSecDiskFull : errSecIO;
    const OSStatus status = store();
    if (status != errSecSuccess && status != errSecDuplicateItem)
        folder.remove(noteName(service));
    return status;
}

OSStatus KeychainPins::unpin(const std::string& service)
{
    PrivateFolder folder;
    const OSStatus status =
        path_ ? PrivateFolder::open(*path_, PrivateFolder::Creation::never, folder) : errSecItemNotFound;
    if (status == errSecItemNotFound)
        return errSecSuccess;
    if (status != errSecSuccess)
        return status;
    const Descriptor lock = folder.lock(lockName, wait_);
    if (!lock)
        return errSecIO;
    if (!folder.remove(noteName(service)))
        return errSecIO;
    const MutexLock guard(mutex_);
    known_.erase(service);
    return errSecSuccess;
}

} // namespace corvane
