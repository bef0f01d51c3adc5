// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/Bundle.h>
#include <corvane/Platform/Base/Fatal.h>

namespace corvane {

std::optional<std::string> stringForInfoDictionaryKey(const Bundle& bundle, std::string_view key)
{
    const PropertyValue* value = bundle.objectForInfoDictionaryKey(key);
    const std::string* text = value ? value->asString() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

std::optional<Number> numberForInfoDictionaryKey(const Bundle& bundle, std::string_view key)
{
    const PropertyValue* value = bundle.objectForInfoDictionaryKey(key);
    const Number* number = value ? value->asNumber() : nullptr;
    return number ? std::optional(*number) : std::nullopt;
}

std::optional<bool> boolForInfoDictionaryKey(const Bundle& bundle, std::string_view key)
{
    const auto number = numberForInfoDictionaryKey(bundle, key);
    return number ? std::optional(number->boolValue()) : std::nullopt;
}

std::optional<URL> urlForInfoDictionaryKey(const Bundle& bundle, std::string_view key)
{
    const auto text = stringForInfoDictionaryKey(bundle, key);
    return text ? URL::fromString(*text) : std::nullopt;
}

std::string name(const Bundle& bundle)
{
    auto text = stringForInfoDictionaryKey(bundle, "CFBundleName");
    precondition(text.has_value(), "Bundle should have a name");
    return *std::move(text);
}

std::string versionString(const Bundle& bundle)
{
    auto text = stringForInfoDictionaryKey(bundle, "CFBundleShortVersionString");
    precondition(text.has_value(), "Bundle should have a version with the format XXX.XXX.XXX");
    return *std::move(text);
}

std::optional<URL> urlForPLISTResource(const Bundle& bundle, std::string_view name,
                                       std::string_view subdirectory)
{
    return bundle.urlForResource(name, "plist", subdirectory);
}

std::optional<URL> urlForHTMLResource(const Bundle& bundle, std::string_view name,
                                      std::string_view subdirectory)
{
    return bundle.urlForResource(name, "html", subdirectory);
}

std::string uniqueID(const Bundle& bundle, std::string_view name)
{
    return bundle.bundleIdentifier().value_or("CorvaneDefaultPrefix").append(".").append(name);
}

} // namespace corvane
