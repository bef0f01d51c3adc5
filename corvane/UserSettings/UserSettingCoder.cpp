// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Files/Bookmark.h>
#include <corvane/UserSettings/UserSettingCoder.h>

#include <set>
#include <utility>

namespace corvane {

namespace detail {

namespace {

template <typename T>
std::optional<T> ifHeld(const UserDefaults& from, std::string_view key,
                        const T* (PropertyValue::*as)() const noexcept)
{
    const std::optional<PropertyValue> object = from.objectForKey(key);
    const T* const held = object ? ((*object).*as)() : nullptr;
    return held ? std::optional<T>(*held) : std::nullopt;
}

template <typename T>
std::optional<T> ifPresent(const UserDefaults& from, std::string_view key, T (*convert)(const PropertyValue&))
{
    const std::optional<PropertyValue> object = from.objectForKey(key);
    return object ? std::optional<T>(convert(*object)) : std::nullopt;
}

// Types that are told by their text hold it by reference.
std::string_view kept(std::string text)
{
    struct Texts {
        Mutex mutex;
        std::set<std::string, std::less<>> all CORVANE_GUARDED_BY(mutex);
    };
    static auto* const texts = new Texts; // work that outlives main() may still hold them
    const MutexLock lock(texts->mutex);
    return *texts->all.insert(std::move(text)).first;
}

} // namespace

std::optional<URL> decodeURL(const UserDefaults& from, std::string_view key)
{
    return from.urlForKey(key);
}

std::optional<PropertyValue> decodeNSObject(const UserDefaults& from, std::string_view key)
{
    return from.objectForKey(key);
}

std::optional<PropertyArray> decodeNSArray(const UserDefaults& from, std::string_view key)
{
    return ifHeld(from, key, &PropertyValue::asArray);
}

std::optional<std::vector<std::string>> decodeStringArray(const UserDefaults& from, std::string_view key)
{
    const std::optional<PropertyArray> array = decodeNSArray(from, key);
    if (!array)
        return std::nullopt;
    std::vector<std::string> result;
    result.reserve(array->size());
    for (const PropertyValue& element : *array) {
        const std::string* const text = element.asString();
        if (text == nullptr)
            return std::nullopt;
        result.push_back(*text);
    }
    return result;
}

std::optional<std::vector<URL>> decodeURLArray(const UserDefaults& from, std::string_view key)
{
    const std::optional<std::vector<std::string>> texts = decodeStringArray(from, key);
    if (!texts)
        return std::nullopt;
    std::vector<URL> result;
    result.reserve(texts->size());
    for (const std::string& text : *texts) {
        std::optional<URL> url = URL::fromString(text);
        if (!url)
            return std::nullopt;
        result.push_back(*std::move(url));
    }
    return result;
}

std::optional<std::string> decodeString(const UserDefaults& from, std::string_view key)
{
    return from.stringForKey(key);
}

std::optional<PropertyDictionary> decodeDict(const UserDefaults& from, std::string_view key)
{
    return from.dictionaryForKey(key);
}

std::optional<Data> decodeData(const UserDefaults& from, std::string_view key)
{
    return from.dataForKey(key);
}

std::optional<bool> decodeBool(const UserDefaults& from, std::string_view key)
{
    return ifPresent(from, key, UserDefaults::boolValue);
}

std::optional<Int> decodeInt(const UserDefaults& from, std::string_view key)
{
    return ifPresent(from, key, UserDefaults::integerValue);
}

std::optional<std::uint64_t> decodeUInt(const UserDefaults& from, std::string_view key)
{
    return ifPresent<std::uint64_t>(from, key, [](const PropertyValue& value) {
        // What is above the largest `Int` was stored unsigned and would be cut to it.
        if (const Number* number = value.asNumber();
            number && number->kind() == Number::Kind::unsignedInteger)
            return number->unsignedValue();
        const Int integer = UserDefaults::integerValue(value);
        precondition(integer >= 0, "A negative stored number cannot become an unsigned integer");
        return static_cast<std::uint64_t>(integer);
    });
}

std::optional<float> decodeFloat(const UserDefaults& from, std::string_view key)
{
    return ifPresent(from, key, UserDefaults::floatValue);
}

std::optional<double> decodeDouble(const UserDefaults& from, std::string_view key)
{
    return ifPresent(from, key, UserDefaults::doubleValue);
}

std::optional<Date> decodeDate(const UserDefaults& from, std::string_view key)
{
    return ifHeld(from, key, &PropertyValue::asDate);
}

std::optional<Number> decodeNSNumber(const UserDefaults& from, std::string_view key)
{
    return ifHeld(from, key, &PropertyValue::asNumber);
}

std::optional<Version> decodeBundleVersion(const UserDefaults& from, std::string_view key)
{
    const std::optional<std::string> text = from.stringForKey(key);
    return text ? Version::fromString(*text) : std::nullopt;
}

std::optional<AVFileType> decodeAVFileType(const UserDefaults& from, std::string_view key)
{
    std::optional<std::string> text = from.stringForKey(key);
    return text ? std::optional(AVFileType{kept(*std::move(text))}) : std::nullopt;
}

std::optional<AVVideoCodecType> decodeAVVideoCodecType(const UserDefaults& from, std::string_view key)
{
    std::optional<std::string> text = from.stringForKey(key);
    return text ? std::optional(AVVideoCodecType{kept(*std::move(text))}) : std::nullopt;
}

std::optional<DateFormatterStyle> decodeDateFormatterStyle(const UserDefaults& from, std::string_view key)
{
    const std::optional<Number> number = decodeNSNumber(from, key);
    return number ? std::optional(static_cast<DateFormatterStyle>(number->unsignedValue())) : std::nullopt;
}

PropertyValue stored(const std::vector<std::string>& value)
{
    return PropertyArray(value.begin(), value.end());
}

PropertyValue stored(const std::vector<URL>& value)
{
    PropertyArray texts;
    texts.reserve(value.size());
    for (const URL& url : value)
        texts.emplace_back(url.absoluteString());
    return texts;
}

} // namespace detail

PersistentURLUSC::PersistentURLUSC() : cacheURL_(std::make_shared<std::optional<URL>>()) {}

std::optional<URL> PersistentURLUSC::decode(const UserDefaults& from, std::string_view key) const
{
    if (cacheURL())
        return cacheURL();
    const std::optional<Data> data = from.dataForKey(key);
    const std::optional<Bookmark> bookmark = data ? Bookmark::fromData(*data) : std::nullopt;
    const std::optional<Bookmark::Resolution> found = bookmark ? bookmark->resolve() : std::nullopt;
    if (!found || found->isStale || !startAccessing(found->url))
        return std::nullopt;
    cacheURL() = found->url;
    return cacheURL();
}

void PersistentURLUSC::encode(const std::optional<URL>& value, const UserDefaults& to,
                              std::string_view key) const
{
    if (value == cacheURL()) // past this, it cannot be the cache itself
        return;
    if (cacheURL())
        stopAccessing(*cacheURL());
    to.removeObjectForKey(key);
    cacheURL().reset();
    if (!value)
        return;
    const std::optional<Bookmark> bookmark = Bookmark::fromURL(*value);
    if (!bookmark || !startAccessing(*value))
        return;
    to.setObject(bookmark->data(), key);
    cacheURL() = value;
}

} // namespace corvane
