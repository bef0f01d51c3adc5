// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Base/NumberText.h>
#include <corvane/Platform/Base/User.h>
#include <corvane/Platform/Storage/DefaultsStore.h>
#include <corvane/Platform/Storage/UserDefaults.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <limits>
#include <utility>

namespace corvane {

namespace {

constexpr std::string_view whiteSpace = " \t\r\n\v\f";

std::string_view withoutLeadingSpace(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
    return text;
}

// A sign is kept, but for the plus that the standard's reader refuses.
std::string_view numberStart(std::string_view text)
{
    text = withoutLeadingSpace(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    return text;
}

bool boolOf(std::string_view text)
{
    text = withoutLeadingSpace(text);
    if (text.starts_with('+') || text.starts_with('-'))
        text.remove_prefix(1);
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    return !text.empty() && std::string_view("YyTt123456789").find(text[0]) != std::string_view::npos;
}

Int integerOf(std::string_view text)
{
    text = numberStart(text);
    Int value = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc::result_out_of_range)
        return text[0] == '-' ? std::numeric_limits<Int>::min() : std::numeric_limits<Int>::max();
    return value;
}

double doubleOf(std::string_view text)
{
    text = numberStart(text);
    double value = 0;
    const auto end = text.data() + text.size();
    if (std::from_chars(text.data(), end, value).ec != std::errc::result_out_of_range)
        return value;
    long double wider = 0; // tells too large from too small
    std::from_chars(text.data(), end, wider);
    return static_cast<double>(wider);
}

std::string stringOf(const Number& number)
{
    switch (number.kind()) {
    case Number::Kind::boolean:
        return number.boolValue() ? "1" : "0";
    case Number::Kind::integer:
        return std::to_string(number.intValue());
    case Number::Kind::unsignedInteger:
        return std::to_string(number.unsignedValue());
    case Number::Kind::single:
        return numberText(number.floatValue());
    case Number::Kind::real:
        break;
    }
    return numberText(number.doubleValue());
}

// A number by one function, text by another, anything else as zero.
template <typename T>
T scalar(const PropertyValue& value, T (Number::*ofNumber)() const noexcept, auto ofText)
{
    if (const Number* number = value.asNumber())
        return (number->*ofNumber)();
    const std::string* text = value.asString();
    return text ? static_cast<T>(ofText(*text)) : T{};
}

template <typename T>
T converted(const DefaultsStore& store, std::string_view key, T (*convert)(const PropertyValue&))
{
    return store.read(key, [convert](const PropertyValue* value) { return value ? convert(*value) : T{}; });
}

template <typename T>
std::optional<T> held(const DefaultsStore& store, std::string_view key,
                      const T* (PropertyValue::*as)() const noexcept)
{
    return store.read(key, [as](const PropertyValue* value) -> std::optional<T> {
        const T* const inside = value ? (value->*as)() : nullptr;
        return inside ? std::optional<T>(*inside) : std::nullopt;
    });
}

std::string programName()
{
    if (auto identifier = Bundle::main().bundleIdentifier())
        return *std::move(identifier);
    std::error_code unknown;
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", unknown);
    return unknown ? "corvane" : executable.filename().string();
}

std::string fileName(std::string_view suiteName)
{
    std::string result;
    for (const char c : suiteName)
        if (c == '/')
            result += "%2F";
        else if (c == '\0')
            result += "%00";
        else if (c == '%')
            result += "%25";
        else if (c == '.' && result.empty())
            result += "%2E";
        else
            result += c;
    return result + ".sqlite";
}

// Without a home there is no place, and a path below it cannot be made either.
std::string dataFolder()
{
    std::string name = fileName(programName());
    name.erase(name.rfind('.'));
    return userDataDirectory().value_or("/nonexistent") + "/" + name;
}

// Kept for good: work that outlives main() may still ask.
struct StandardSuite {
    Mutex mutex;
    std::optional<UserDefaults> suite CORVANE_GUARDED_BY(mutex);
};

StandardSuite& standardSuite()
{
    static auto* const kept = new StandardSuite;
    return *kept;
}

} // namespace

const NotificationName
    UserDefaults::didChangeElsewhereNotification("UserDefaultsDidChangeElsewhereNotification");

UserDefaults::UserDefaults(std::shared_ptr<DefaultsStore> store) noexcept : store_(std::move(store)) {}

UserDefaults UserDefaults::standard()
{
    const MutexLock lock(standardSuite().mutex);
    std::optional<UserDefaults>& suite = standardSuite().suite;
    if (!suite)
        suite.emplace(programName());
    return *suite;
}

void UserDefaults::setStandard(UserDefaults suite)
{
    const MutexLock lock(standardSuite().mutex);
    standardSuite().suite = std::move(suite);
}

UserDefaults::UserDefaults(std::string_view suiteName) : UserDefaults(suiteName, URL::fromPath(dataFolder()))
{}

UserDefaults::UserDefaults(std::string_view suiteName, const URL& folder)
    : UserDefaults(DefaultsStore::atPath(std::string(suiteName), folder.path() + "/" + fileName(suiteName)))
{}

UserDefaults UserDefaults::inMemory()
{
    return UserDefaults(DefaultsStore::inMemory({}));
}

std::optional<PropertyValue> UserDefaults::objectForKey(std::string_view key) const
{
    return store_->read(key, [](const PropertyValue* value) {
        return value ? std::optional<PropertyValue>(*value) : std::nullopt;
    });
}

bool UserDefaults::hasObjectForKey(std::string_view key) const
{
    return store_->read(key, [](const PropertyValue* value) { return value != nullptr; });
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const
{
    return store_->read(key, [](const PropertyValue* value) -> std::optional<std::string> {
        if (value == nullptr)
            return std::nullopt;
        const std::string* const text = value->asString(); // most often
        return text ? std::optional<std::string>(*text) : stringValue(*value);
    });
}

std::optional<PropertyArray> UserDefaults::arrayForKey(std::string_view key) const
{
    return held(*store_, key, &PropertyValue::asArray);
}

std::optional<PropertyDictionary> UserDefaults::dictionaryForKey(std::string_view key) const
{
    return held(*store_, key, &PropertyValue::asDictionary);
}

std::optional<Data> UserDefaults::dataForKey(std::string_view key) const
{
    return held(*store_, key, &PropertyValue::asData);
}

std::optional<URL> UserDefaults::urlForKey(std::string_view key) const
{
    const std::optional<std::string> text = held(*store_, key, &PropertyValue::asString);
    return text ? URL::fromString(*text) : std::nullopt;
}

bool UserDefaults::boolForKey(std::string_view key) const
{
    return converted(*store_, key, boolValue);
}

Int UserDefaults::integerForKey(std::string_view key) const
{
    return converted(*store_, key, integerValue);
}

float UserDefaults::floatForKey(std::string_view key) const
{
    return converted(*store_, key, floatValue);
}

double UserDefaults::doubleForKey(std::string_view key) const
{
    return converted(*store_, key, doubleValue);
}

std::optional<std::string> UserDefaults::stringValue(const PropertyValue& value)
{
    if (const Number* number = value.asNumber())
        return stringOf(*number);
    const std::string* text = value.asString();
    return text ? std::optional<std::string>(*text) : std::nullopt;
}

bool UserDefaults::boolValue(const PropertyValue& value)
{
    return scalar(value, &Number::boolValue, boolOf);
}

Int UserDefaults::integerValue(const PropertyValue& value)
{
    return scalar(value, &Number::intValue, integerOf);
}

float UserDefaults::floatValue(const PropertyValue& value)
{
    return scalar(value, &Number::floatValue, doubleOf);
}

double UserDefaults::doubleValue(const PropertyValue& value)
{
    return scalar(value, &Number::doubleValue, doubleOf);
}

PropertyDictionary UserDefaults::dictionaryRepresentation() const
{
    return store_->all();
}

bool UserDefaults::setObject(std::optional<PropertyValue> value, std::string_view key) const
{
    return store_->set(key, std::move(value));
}

bool UserDefaults::setURL(const std::optional<URL>& value, std::string_view key) const
{
    return setObject(value ? std::optional<PropertyValue>(value->absoluteString()) : std::nullopt, key);
}

bool UserDefaults::transaction(const std::function<void()>& body) const
{
    return store_->transaction(body);
}

bool UserDefaults::synchronize() const
{
    return store_->synchronize();
}

const std::string& UserDefaults::suiteName() const noexcept
{
    return store_->suiteName();
}

std::optional<URL> UserDefaults::fileURL() const
{
    return store_->path().empty() ? std::nullopt : std::optional(URL::fromPath(store_->path()));
}

UserDefaultsState UserDefaults::state() const
{
    return store_->state();
}

std::optional<UserDefaultsFailure> UserDefaults::lastFailure() const
{
    return store_->lastFailure();
}

std::vector<URL> UserDefaults::filesSetAside() const
{
    std::vector<URL> urls;
    for (const std::string& path : store_->filesSetAside())
        urls.push_back(URL::fromPath(path));
    return urls;
}

} // namespace corvane
