// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Storage/SecItem.h>
#include <corvane/Platform/Storage/SecretBytes.h>
#include <corvane/Platform/Text/Utf8.h>
#include <corvane/UserKeychain/UserKeychain.h>

#include <utility>

namespace corvane {

namespace {

bool isUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const detail::CodePoint point = detail::codePointAt(text, at);
        if (detail::isBadByte(point))
            return false;
        at += point.length;
    }
    return true;
}

/// A dictionary that carries a secret: wiped when it is done with.
class SecretDictionary {
public:
    SecretDictionary(PropertyDictionary dictionary, DataView secret) : dictionary_(std::move(dictionary))
    {
        dictionary_[kSecValueData] = Data(secret.begin(), secret.end());
    }
    SecretDictionary(const SecretDictionary&) = delete;
    SecretDictionary& operator=(const SecretDictionary&) = delete;
    ~SecretDictionary() { wipe(*dictionary_[kSecValueData].asData()); }
    PropertyDictionary& operator*() { return dictionary_; }

private:
    PropertyDictionary dictionary_;
};

} // namespace

UserKeychain& UserKeychain::standard()
{
    // Never destroyed: work that outlives main() may still ask.
    static auto* const standard =
        new UserKeychain(Bundle::main().bundleIdentifier().value_or("CorvaneKeychain"));
    return *standard;
}

UserKeychain::UserKeychain(std::string name, std::optional<std::string> group)
    : serviceName(std::move(name)), accessGroup(std::move(group))
{}

PropertyDictionary UserKeychain::queryDictionary(const Key& forKey, OptionalAccess with) const
{
    PropertyDictionary query{{kSecClass, kSecClassGenericPassword},
                             {kSecAttrService, serviceName},
                             {kSecAttrLabel, forKey.rawValue},
                             // Reads and removals find synchronised and local items alike.
                             {kSecAttrSynchronizable, kSecAttrSynchronizableAny}};
    if (with)
        query.emplace(kSecAttrAccessible, attributeValue(*with));
    if (accessGroup)
        query.emplace(kSecAttrAccessGroup, *accessGroup);
    query.emplace(kSecAttrGeneric, forKey.rawValue);
    query.emplace(kSecAttrAccount, forKey.rawValue);
    return query;
}

std::optional<Data> UserKeychain::read(const Key& forKey, OptionalAccess with, const char* returnFlag) const
{
    PropertyDictionary query = queryDictionary(forKey, with);
    query.emplace(kSecMatchLimit, kSecMatchLimitOne);
    query.emplace(returnFlag, kCFBooleanTrue);
    std::optional<PropertyValue> result;
    if (SecItemCopyMatching(query, &result) != errSecSuccess || !result || !result->asData())
        return std::nullopt;
    return std::move(*result->asData());
}

std::optional<Data> UserKeychain::data(const Key& forKey, OptionalAccess with) const
{
    return read(forKey, with, kSecReturnData);
}

std::optional<Data> UserKeychain::dataRef(const Key& forKey, OptionalAccess with) const
{
    return read(forKey, with, kSecReturnPersistentRef);
}

bool UserKeychain::hasValue(const Key& forKey, OptionalAccess with) const
{
    std::optional<Data> value = data(forKey, with);
    if (value)
        wipe(*value);
    return value.has_value();
}

bool UserKeychain::set(DataView data, const Key& forKey, OptionalAccess with) const
{
    SecretDictionary item(queryDictionary(forKey, with), data);
    if (!with)
        (*item).emplace(kSecAttrAccessible, attributeValue(Access::whenUnlocked));
    if (enableSynchronization)
        (*item)[kSecAttrSynchronizable] = kCFBooleanTrue;
    const OSStatus status = SecItemAdd(*item);
    return status == errSecDuplicateItem ? update(data, forKey, with) : status == errSecSuccess;
}

// The accessibility class is a condition here and never a change: an item keeps the one that it was added with.
bool UserKeychain::update(DataView data, const Key& forKey, OptionalAccess with) const
{
    SecretDictionary changes({}, data);
    if (enableSynchronization)
        (*changes)[kSecAttrSynchronizable] = kCFBooleanTrue;
    return SecItemUpdate(queryDictionary(forKey, with), *changes) == errSecSuccess;
}

bool UserKeychain::remove(const Key& forKey, OptionalAccess with) const
{
    return SecItemDelete(queryDictionary(forKey, with)) == errSecSuccess;
}

// Says nothing of synchronisation, unlike the queries of one key, and so leaves items that are marked for it.
bool UserKeychain::removeAllKeys() const
{
    PropertyDictionary query{{kSecClass, kSecClassGenericPassword}, {kSecAttrService, serviceName}};
    if (accessGroup)
        query.emplace(kSecAttrAccessGroup, *accessGroup);
    return SecItemDelete(query) == errSecSuccess;
}

bool UserKeychain::set(std::string_view text, const Key& forKey, OptionalAccess with) const
{
    return isUtf8(text) && set(std::as_bytes(std::span(text)), forKey, with);
}

bool UserKeychain::set(const PropertyValue& object, const Key& forKey, OptionalAccess with) const
{
    std::optional<Data> archive = archivedData(object);
    if (!archive)
        return false;
    const SecretBytes bytes(std::move(*archive));
    return set(bytes.view(), forKey, with);
}

std::optional<std::string> UserKeychain::string(const Key& forKey, OptionalAccess with) const
{
    std::optional<Data> read = data(forKey, with);
    if (!read)
        return std::nullopt;
    const SecretBytes bytes(std::move(*read));
    const std::string_view text(reinterpret_cast<const char*>(bytes.view().data()), bytes.view().size());
    return isUtf8(text) ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<PropertyValue> UserKeychain::object(const Key& forKey, OptionalAccess with) const
{
    std::optional<Data> read = data(forKey, with);
    if (!read)
        return std::nullopt;
    const SecretBytes bytes(std::move(*read));
    return unarchivedValue(bytes.view());
}

std::optional<Number> UserKeychain::number(const Key& forKey, OptionalAccess with) const
{
    const std::optional<PropertyValue> value = object(forKey, with);
    return value && value->asNumber() ? std::optional(*value->asNumber()) : std::nullopt;
}

std::optional<Int> UserKeychain::integer(const Key& forKey, OptionalAccess with) const
{
    const std::optional<Number> value = number(forKey, with);
    return value ? std::optional(value->intValue()) : std::nullopt;
}

std::optional<float> UserKeychain::float_(const Key& forKey, OptionalAccess with) const
{
    const std::optional<Number> value = number(forKey, with);
    return value ? std::optional(value->floatValue()) : std::nullopt;
}

std::optional<double> UserKeychain::double_(const Key& forKey, OptionalAccess with) const
{
    const std::optional<Number> value = number(forKey, with);
    return value ? std::optional(value->doubleValue()) : std::nullopt;
}

std::optional<bool> UserKeychain::bool_(const Key& forKey, OptionalAccess with) const
{
    const std::optional<Number> value = number(forKey, with);
    return value ? std::optional(value->boolValue()) : std::nullopt;
}

} // namespace corvane
