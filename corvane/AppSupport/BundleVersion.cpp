// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/Bundle.h>
#include <corvane/AppSupport/BundleVersion.h>

#include <algorithm>
#include <charconv>
#include <tuple>

namespace corvane {

namespace {

// Unicode's space separators and the tab, in UTF-8.
constexpr std::string_view horizontalSpaces[] = {" ",      "\t",     "\u00a0", "\u1680", "\u2000", "\u2001",
                                                 "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007",
                                                 "\u2008", "\u2009", "\u200a", "\u202f", "\u205f", "\u3000"};

std::string_view trimmed(std::string_view text)
{
    for (bool found = true; found;) {
        found = false;
        for (const std::string_view space : horizontalSpaces) {
            if (text.starts_with(space)) {
                text.remove_prefix(space.size());
                found = true;
            }
            if (text.ends_with(space)) {
                text.remove_suffix(space.size());
                found = true;
            }
        }
    }
    return text;
}

// An optional sign and decimal digits, nothing else; otherwise 0.
Int integer(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    Int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

} // namespace

Version::Version(std::string_view text)
{
    rawValue = trimmed(text);
    if (rawValue.empty())
        rawValue = "0.0.0";
    std::string_view rest = rawValue;
    for (Int* number : {&major, &minor, &patch}) {
        const std::string_view piece = rest.substr(0, rest.find('.'));
        *number = integer(piece);
        rest.remove_prefix(std::min(piece.size() + 1, rest.size()));
    }
}

const Version& Version::zero()
{
    static const Version version("0.0.0");
    return version;
}

const Version& Version::first()
{
    static const Version version("1.0.0");
    return version;
}

Version Version::current()
{
    return Version(versionString(Bundle::main()));
}

bool Version::isCurrent() const
{
    return *this == current();
}

std::string Version::description() const
{
    return std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(patch);
}

std::weak_ordering operator<=>(const Version& a, const Version& b) noexcept
{
    return std::tie(a.major, a.minor, a.patch) <=> std::tie(b.major, b.minor, b.patch);
}

} // namespace corvane

std::size_t std::hash<corvane::Version>::operator()(const corvane::Version& version) const noexcept
{
    std::size_t seed = 0;
    for (const corvane::Int number : {version.major, version.minor, version.patch})
        seed = (seed ^ std::hash<corvane::Int>()(number)) * 0x9E37'79B9'7F4A'7C15U;
    return seed;
}
