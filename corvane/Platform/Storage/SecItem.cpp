// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/PropertyArchive.h>
#include <corvane/Platform/Storage/Keychain.h>
#include <corvane/Platform/Storage/SecItem.h>
#include <corvane/Platform/Text/Utf8.h>

#include <string>
#include <utility>
#include <vector>

namespace corvane {

namespace {

/// A dictionary taken apart.
struct Request {
    KeychainFilter filter; ///< of an addition or an update: the values, not conditions
    std::optional<DataView> secret;
    bool returnsData = false;
    bool returnsAttributes = false;
    bool returnsReference = false;
    bool findsAll = false;
};

struct TextAttribute {
    const char* key;
    std::optional<std::string> KeychainFilter::*field;
};
constexpr TextAttribute textAttributes[] = {
    {kSecAttrService, &KeychainFilter::service},         {kSecAttrAccount, &KeychainFilter::account},
    {kSecAttrAccessGroup, &KeychainFilter::accessGroup}, {kSecAttrLabel, &KeychainFilter::label},
    {kSecAttrGeneric, &KeychainFilter::generic},         {kSecAttrAccessible, &KeychainFilter::accessible}};

// What every keychain can keep: the service of a desktop speaks UTF-8 without NUL only.
bool isStorableText(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const detail::CodePoint point = detail::codePointAt(text, at);
        if (point.value == 0 || detail::isBadByte(point))
            return false;
        at += point.length;
    }
    return true;
}

// The identity, readable again by any keychain; it is no secret to whoever may ask for it.
Data referenceOf(const KeychainItem& item)
{
    return archivedData(PropertyArray{item.service, item.account, item.accessGroup}).value();
}

bool readReference(const PropertyValue& value, KeychainFilter& filter)
{
    const Data* const bytes = value.asData();
    const std::optional<PropertyValue> archived = bytes ? unarchivedValue(*bytes) : std::nullopt;
    const PropertyArray* const parts = archived ? archived->asArray() : nullptr;
    if (!parts || parts->size() != 3)
        return false;
    std::optional<std::string>* const fields[] = {&filter.service, &filter.account, &filter.accessGroup};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::string* const text = (*parts)[i].asString();
        if (!text || (*fields[i] && **fields[i] != *text))
            return false;
        *fields[i] = *text;
    }
    return true;
}

bool readSynchronizable(const PropertyValue& value, std::optional<bool>& field)
{
    if (const std::string* const text = value.asString()) {
        field.reset();
        return *text == kSecAttrSynchronizableAny;
    }
    const Number* const number = value.asNumber();
    if (number)
        field = number->boolValue();
    return number != nullptr;
}

bool readLimit(const PropertyValue& value, bool& findsAll)
{
    const std::string* const text = value.asString();
    findsAll = text && *text == kSecMatchLimitAll;
    return text && (findsAll || *text == kSecMatchLimitOne);
}

bool readEntry(const std::string& key, const PropertyValue& value, Request& request)
{
    for (const auto& [name, field] : textAttributes)
        if (key == name) {
            const std::string* const text = value.asString();
            if (text)
                request.filter.*field = *text;
            return text && isStorableText(*text);
        }
    const auto readFlag = [&value](bool& flag) {
        const Number* const number = value.asNumber();
        flag = number && number->boolValue();
        return number != nullptr;
    };
    if (key == kSecAttrSynchronizable)
        return readSynchronizable(value, request.filter.isSynchronizable);
    if (key == kSecValueData) {
        if (const Data* const bytes = value.asData())
            request.secret = *bytes;
        return value.asData() != nullptr;
    }
    if (key == kSecReturnData)
        return readFlag(request.returnsData);
    if (key == kSecReturnAttributes)
        return readFlag(request.returnsAttributes);
    if (key == kSecReturnPersistentRef)
        return readFlag(request.returnsReference);
    if (key == kSecMatchLimit)
        return readLimit(value, request.findsAll);
    // The class and the reference have been seen to by `read`.
    return key == kSecClass || key == kSecValuePersistentRef;
}

// Absent for a dictionary with an entry that is not understood, which would otherwise match too much.
std::optional<Request> read(const PropertyDictionary& dictionary, bool needsClass = true)
{
    Request request;
    request.filter.isSynchronizable = false;
    const PropertyValue* const type = find(dictionary, kSecClass);
    if (type ? *type != PropertyValue(kSecClassGenericPassword) : needsClass)
        return std::nullopt;
    for (const auto& [key, value] : dictionary)
        if (!readEntry(key, value, request))
            return std::nullopt;
    const PropertyValue* const reference = find(dictionary, kSecValuePersistentRef);
    if (reference && !readReference(*reference, request.filter))
        return std::nullopt;
    return request;
}

PropertyValue valueOf(KeychainMatch& match, const Request& request)
{
    if (request.returnsAttributes || request.returnsData == request.returnsReference) {
        PropertyDictionary result;
        if (request.returnsAttributes) {
            const KeychainItem& item = match.item;
            result = {{kSecClass, kSecClassGenericPassword}, {kSecAttrService, item.service},
                      {kSecAttrAccount, item.account},       {kSecAttrLabel, item.label},
                      {kSecAttrAccessible, item.accessible}, {kSecAttrSynchronizable, item.isSynchronizable},
                      {kSecAttrCreationDate, item.created},  {kSecAttrModificationDate, item.modified}};
            if (!item.accessGroup.empty())
                result.emplace(kSecAttrAccessGroup, item.accessGroup);
            if (!item.generic.empty())
                result.emplace(kSecAttrGeneric, item.generic);
        }
        if (request.returnsData)
            result.emplace(kSecValueData, match.secret.release());
        if (request.returnsReference)
            result.emplace(kSecValuePersistentRef, referenceOf(match.item));
        return result;
    }
    return request.returnsData ? match.secret.release() : referenceOf(match.item);
}

bool returnsSomething(const Request& request)
{
    return request.returnsData || request.returnsAttributes || request.returnsReference;
}

} // namespace

OSStatus SecItemCopyMatching(const PropertyDictionary& query, std::optional<PropertyValue>* result)
{
    const std::optional<Request> request = read(query);
    if (!request || request->secret)
        return errSecParam;
    KeychainFetch fetch;
    fetch.attributes = request->returnsAttributes || request->returnsReference;
    fetch.secret = request->returnsData;
    fetch.onlyOne = !request->findsAll;
    std::vector<KeychainMatch> found;
    const OSStatus status = sharedKeychain()->find(request->filter, fetch, found);
    if (status != errSecSuccess || !result || !returnsSomething(*request))
        return status;
    if (!request->findsAll) {
        *result = valueOf(found.front(), *request);
        return status;
    }
    PropertyArray values;
    values.reserve(found.size());
    for (KeychainMatch& match : found)
        values.push_back(valueOf(match, *request));
    *result = std::move(values);
    return status;
}

OSStatus SecItemAdd(const PropertyDictionary& attributes, std::optional<PropertyValue>* result)
{
    std::optional<Request> request = read(attributes);
    if (!request || request->findsAll || find(attributes, kSecValuePersistentRef))
        return errSecParam;
    KeychainFilter& given = request->filter;
    KeychainMatch added;
    KeychainItem& item = added.item;
    item.service = std::move(given.service).value_or(std::string());
    item.account = std::move(given.account).value_or(std::string());
    item.accessGroup = std::move(given.accessGroup).value_or(std::string());
    item.label = std::move(given.label).value_or(std::string());
    item.generic = std::move(given.generic).value_or(std::string());
    item.accessible = std::move(given.accessible).value_or(kSecAttrAccessibleWhenUnlocked);
    // "Any" is meant for searches; an item is one or the other.
    item.isSynchronizable = given.isSynchronizable.value_or(false);
    const DataView secret = request->secret.value_or(DataView());
    const std::shared_ptr<Keychain> keychain = sharedKeychain();
    const OSStatus status = keychain->add(item, secret);
    if (status != errSecSuccess || !result || !returnsSomething(*request))
        return status;
    if (request->returnsAttributes) { // for the dates
        KeychainFilter identity;
        identity.service = item.service;
        identity.account = item.account;
        identity.accessGroup = item.accessGroup;
        std::vector<KeychainMatch> found;
        if (keychain->find(identity, {.attributes = true, .onlyOne = true}, found) == errSecSuccess)
            item = std::move(found.front().item);
    }
    added.secret = SecretBytes(secret);
    *result = valueOf(added, *request);
    return status;
}

OSStatus SecItemUpdate(const PropertyDictionary& query, const PropertyDictionary& attributesToUpdate)
{
    const std::optional<Request> request = read(query);
    const std::optional<Request> changed = read(attributesToUpdate, false);
    if (!request || request->secret || !changed || find(attributesToUpdate, kSecValuePersistentRef))
        return errSecParam;
    const KeychainFilter& values = changed->filter;
    if (values.service || values.account || values.accessGroup)
        return errSecParam;
    KeychainChanges changes;
    changes.label = values.label;
    changes.generic = values.generic;
    changes.accessible = values.accessible;
    if (find(attributesToUpdate, kSecAttrSynchronizable))
        changes.isSynchronizable = values.isSynchronizable;
    changes.secret = changed->secret;
    return sharedKeychain()->update(request->filter, changes);
}

OSStatus SecItemDelete(const PropertyDictionary& query)
{
    const std::optional<Request> request = read(query);
    if (!request || request->secret)
        return errSecParam;
    return sharedKeychain()->remove(request->filter);
}

} // namespace corvane
