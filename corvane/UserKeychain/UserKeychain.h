// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyArchive.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/UserKeychain/UserKeychainAccess.h>
#include <corvane/UserKeychain/UserKeychainKey.h>

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

/// Small secrets of an application, one keychain item a key, all under one service.
///
///     UserKeychain& keychain = UserKeychain::standard();
///     keychain.set("s3cret", {"token"});                       // text
///     keychain.set(42, {"attempts"});                          // a number
///     if (const auto token = keychain.string({"token"}))
///         connect(*token);
///
/// Where they are kept is up to `sharedKeychain()`. Readers give nothing, writers and removers false, whatever the reason:
/// no such item, a locked keychain, one that does not answer (after that keychain's wait). A host that wants to know the
/// reason asks `SecItemCopyMatching` and its kin, or `sharedKeychain()->use(serviceName)`.
///
/// With an access, a call sees only items of that accessibility class. A write that names none stores
/// `UserKeychainAccess::whenUnlocked`. Writing over an existing item never changes its class: naming another one than the
/// item has makes the write fail.
///
/// Numbers and objects are stored as archives (see PropertyArchive.h), text as its bytes. What the caller hands in or is
/// given is its own to wipe; the making of an archive leaves traces in memory, so what must be wiped is stored as data or
/// text. An object only describes where its items are; change its fields before it is shared.
/// Thread-compatible.
class CORVANE_API UserKeychain {
public:
    using Key = UserKeychainKey;
    using Access = UserKeychainAccess;
    using OptionalAccess = std::optional<UserKeychainAccess>;

    std::string serviceName;
    /// Absent: items are stored in no group, and found in all.
    std::optional<std::string> accessGroup;
    /// Whether writes mark their items as synchronisable. No keychain here carries them to another machine.
    bool enableSynchronization = false;

    /// Of the main bundle's identifier, "CorvaneKeychain" where it has none; shared by the whole process.
    static UserKeychain& standard();

    explicit UserKeychain(std::string serviceName, std::optional<std::string> accessGroup = std::nullopt);

    std::optional<Data> data(const Key& forKey, OptionalAccess with = std::nullopt) const;
    /// A lasting reference to the item, for kSecValuePersistentRef.
    std::optional<Data> dataRef(const Key& forKey, OptionalAccess with = std::nullopt) const;
    bool hasValue(const Key& forKey, OptionalAccess with = std::nullopt) const;

    // Numbers convert into each other, as `Number` does; a number that was stored as text is none.
    std::optional<Int> integer(const Key& forKey, OptionalAccess with = std::nullopt) const;
    std::optional<float> float_(const Key& forKey, OptionalAccess with = std::nullopt) const;
    std::optional<double> double_(const Key& forKey, OptionalAccess with = std::nullopt) const;
    std::optional<bool> bool_(const Key& forKey, OptionalAccess with = std::nullopt) const;
    /// Absent for data that is not UTF-8.
    std::optional<std::string> string(const Key& forKey, OptionalAccess with = std::nullopt) const;
    /// Absent for data that is not an archive.
    std::optional<PropertyValue> object(const Key& forKey, OptionalAccess with = std::nullopt) const;
    template <PropertyCodable T>
    std::optional<T> object(const Key& forKey, OptionalAccess with = std::nullopt) const
    {
        const std::optional<PropertyValue> value = object(forKey, with);
        return value ? T::fromPropertyValue(*value) : std::nullopt;
    }

    bool set(DataView data, const Key& forKey, OptionalAccess with = std::nullopt) const;
    bool set(const Data& data, const Key& forKey, OptionalAccess with = std::nullopt) const
    {
        return set(DataView(data), forKey, with);
    }
    /// False, with nothing stored, for text that is not UTF-8.
    bool set(std::string_view text, const Key& forKey, OptionalAccess with = std::nullopt) const;
    bool set(const char* text, const Key& forKey, OptionalAccess with = std::nullopt) const
    {
        return set(std::string_view(text), forKey, with);
    }
    bool set(const std::string& text, const Key& forKey, OptionalAccess with = std::nullopt) const
    {
        return set(std::string_view(text), forKey, with);
    }
    /// A whole number, `float`, `double` or `bool`.
    template <typename T>
    requires(std::integral<T> || std::floating_point<T>) bool set(T number, const Key& forKey,
                                                                  OptionalAccess with = std::nullopt) const
    {
        return set(PropertyValue(Number(number)), forKey, with);
    }
    /// False, with nothing stored, for a value that is nested too deeply to be archived.
    bool set(const PropertyValue& object, const Key& forKey, OptionalAccess with = std::nullopt) const;
    template <PropertyCodable T>
    bool set(const T& object, const Key& forKey, OptionalAccess with = std::nullopt) const
    {
        return set(PropertyValue(object.propertyValue()), forKey, with);
    }

    /// False for a key without an item.
    bool remove(const Key& forKey, OptionalAccess with = std::nullopt) const;
    /// All items of the service that are not synchronisable; false when there is none.
    bool removeAllKeys() const;

private:
    PropertyDictionary queryDictionary(const Key& forKey, OptionalAccess with) const;
    std::optional<Data> read(const Key& forKey, OptionalAccess with, const char* returnFlag) const;
    bool update(DataView data, const Key& forKey, OptionalAccess with) const;
    std::optional<Number> number(const Key& forKey, OptionalAccess with) const;
};

} // namespace corvane
