// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/URL.h>

#include <uriparser/Uri.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace corvane {

namespace {

// The characters that stand for themselves in a path: RFC 3986's pchar, and the slash.
constexpr auto plainInPath = [] {
    std::array<bool, 256> plain{};
    for (unsigned c = '0'; c <= '9'; ++c)
        plain[c] = true;
    for (unsigned c = 'a'; c <= 'z'; ++c)
        plain[c] = plain[c - 'a' + 'A'] = true;
    for (const char c : std::string_view("-._~!$&'()*+,;=:@/"))
        plain[static_cast<unsigned char>(c)] = true;
    return plain;
}();

bool isPlain(char c)
{
    return plainInPath[static_cast<unsigned char>(c)];
}

void appendEncoded(std::string& text, std::string_view bytes)
{
    constexpr char digits[] = "0123456789ABCDEF";
    const auto escapes = static_cast<std::size_t>(
        std::count_if(bytes.begin(), bytes.end(), [](char c) { return !isPlain(c); }));
    if (escapes == 0) {
        text += bytes;
        return;
    }
    const std::size_t start = text.size();
    text.resize(start + bytes.size() + 2 * escapes);
    char* out = text.data() + start;
    for (const char c : bytes) {
        if (isPlain(c)) {
            *out++ = c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        *out++ = '%';
        *out++ = digits[byte >> 4];
        *out++ = digits[byte & 15];
    }
}

// Every escape in a URL's text has its two digits: the grammar and `appendEncoded` see to that.
std::string decoded(std::string_view text)
{
    std::string bytes(text.substr(0, text.find('%')));
    bytes.reserve(text.size());
    for (std::size_t i = bytes.size(); i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        unsigned value = 0;
        std::from_chars(text.data() + i + 1, text.data() + i + 3, value, 16);
        bytes += static_cast<char>(value);
        i += 2;
    }
    return bytes;
}

// A valid text cut at its delimiters. Concatenated, `prefix`, `path` and `suffix` are the text.
struct Parts {
    explicit Parts(std::string_view text)
    {
        path = text.substr(0, text.find('#'));
        path = path.substr(0, path.find('?'));
        suffix = text.substr(path.size());
        const std::size_t colon = path.find(':');
        if (colon < path.find('/')) { // the first segment of a relative reference holds no colon
            scheme = path.substr(0, colon);
            path.remove_prefix(colon + 1);
        }
        if (path.starts_with("//")) {
            path.remove_prefix(2);
            authority = path.substr(0, path.find('/'));
            path.remove_prefix(authority->size());
        }
        prefix = text.substr(0, static_cast<std::size_t>(path.data() - text.data()));
    }

    std::string_view prefix, path, suffix;
    std::string_view scheme;
    std::optional<std::string_view> authority;

    // The authority without its user information, cut into host (brackets and all) and port.
    std::pair<std::string_view, std::string_view> hostAndPort() const
    {
        std::string_view host = *authority;
        host.remove_prefix(host.find('@') + 1); // npos + 1 is 0
        const std::size_t colon = host.find(':', host.starts_with('[') ? host.find(']') : 0);
        if (colon == host.npos)
            return {host, {}};
        return {host.substr(0, colon), host.substr(colon + 1)};
    }
};

bool isFileScheme(std::string_view scheme)
{
    return std::ranges::equal(scheme, std::string_view("file"), {}, [](char c) { return c | 0x20; });
}

std::string_view withoutTrailingSlashes(std::string_view path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

// The last component of a path as it is written; empty for the root and for an empty path.
std::string_view lastSegment(std::string_view path)
{
    path = withoutTrailingSlashes(path);
    return path.substr(path.rfind('/') + 1);
}

std::optional<int> portNumber(std::string_view digits)
{
    int port = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (error != std::errc() || end != digits.data() + digits.size() || port > 65535)
        return std::nullopt;
    return port;
}

} // namespace

std::string_view fileNameExtension(std::string_view name) noexcept
{
    const std::size_t stop = name.rfind('.');
    return stop == 0 || stop == name.npos ? std::string_view() : name.substr(stop + 1);
}

std::optional<URL> URL::fromString(std::string_view text)
{
    UriUriA uri;
    if (text.empty() ||
        uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), nullptr) != URI_SUCCESS)
        return std::nullopt;
    uriFreeUriMembersA(&uri);
    const Parts parts(text);
    if (parts.authority) {
        const std::string_view port = parts.hostAndPort().second;
        if (!port.empty() && !portNumber(port))
            return std::nullopt;
    }
    if (isFileScheme(parts.scheme) && parts.path.find("%00") != text.npos)
        return std::nullopt;
    return URL(std::string(text));
}

URL URL::fromPath(std::string_view path)
{
    constexpr std::string_view prefix = "file://";
    path = path.substr(0, path.find('\0'));
    std::string text;
    text.reserve(prefix.size() + path.size() + 16);
    text = prefix;
    if (!path.starts_with('/')) {
        std::error_code error;
        appendEncoded(text, std::filesystem::current_path(error).native()); // empty when the folder is gone
        if (!text.ends_with('/') && !(path.empty() && text.size() > prefix.size()))
            text += '/';
    }
    appendEncoded(text, path);
    return URL(std::move(text));
}

std::string URL::scheme() const
{
    std::string scheme(Parts(text_).scheme);
    std::ranges::transform(scheme, scheme.begin(),
                           [](char c) { return 'A' <= c && c <= 'Z' ? c | 0x20 : c; });
    return scheme;
}

std::optional<std::string> URL::host() const
{
    const Parts parts(text_);
    if (!parts.authority)
        return std::nullopt;
    std::string_view host = parts.hostAndPort().first;
    if (host.starts_with('['))
        host = host.substr(1, host.size() - 2);
    return decoded(host);
}

std::optional<int> URL::port() const
{
    const Parts parts(text_);
    return parts.authority ? portNumber(parts.hostAndPort().second) : std::nullopt;
}

std::optional<std::string> URL::query() const
{
    const std::string_view suffix = Parts(text_).suffix;
    if (!suffix.starts_with('?'))
        return std::nullopt;
    return std::string(suffix.substr(1, suffix.find('#') - 1));
}

std::optional<std::string> URL::fragment() const
{
    const std::size_t hash = text_.find('#');
    return hash == text_.npos ? std::nullopt : std::optional(text_.substr(hash + 1));
}

bool URL::isFileURL() const noexcept
{
    return text_.size() > 4 && text_[4] == ':' && isFileScheme(std::string_view(text_).substr(0, 4));
}

std::string URL::path() const
{
    return decoded(withoutTrailingSlashes(Parts(text_).path));
}

bool URL::hasDirectoryPath() const noexcept
{
    return Parts(text_).path.ends_with('/');
}

std::vector<std::string> URL::pathComponents() const
{
    const std::string_view path = Parts(text_).path;
    std::vector<std::string> components;
    components.reserve(static_cast<std::size_t>(std::ranges::count(path, '/')) + 1);
    if (path.starts_with('/'))
        components.emplace_back("/");
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        if (end > start)
            components.push_back(decoded(path.substr(start, end - start)));
        start = end + 1;
    }
    return components;
}

std::string URL::lastPathComponent() const
{
    const std::string_view path = Parts(text_).path;
    const std::string_view segment = lastSegment(path);
    return segment.empty() && !path.empty() ? "/" : decoded(segment);
}

std::string URL::pathExtension() const
{
    return std::string(fileNameExtension(decoded(lastSegment(Parts(text_).path))));
}

URL URL::appendingPathComponent(std::string_view component) const
{
    const Parts parts(text_);
    component = component.substr(0, component.find('\0'));
    std::string text(parts.prefix);
    text.reserve(text_.size() + component.size() + 16);
    text += parts.path;
    // One slash between the two. At the head of an empty path a slash is wanted after an authority only, and
    // a component there must not read as a scheme or as an authority.
    if (!parts.path.empty() || parts.authority) {
        if (!parts.path.ends_with('/'))
            text += '/';
        component.remove_prefix(std::min(component.find_first_not_of('/'), component.size()));
    } else if (component.starts_with("//") || component.find(':') < component.find('/')) {
        text += "./";
    }
    appendEncoded(text, component);
    text += parts.suffix;
    return URL(std::move(text));
}

URL URL::deletingLastPathComponent() const
{
    const Parts parts(text_);
    const std::string_view segment = lastSegment(parts.path);
    if (segment.empty())
        return *this;
    std::string_view rest =
        parts.path.substr(0, static_cast<std::size_t>(segment.data() - parts.path.data()));
    rest = withoutTrailingSlashes(rest);
    if (rest.empty() && !parts.authority)
        rest = ".";
    return URL(std::string(parts.prefix).append(rest).append(parts.suffix));
}

URL URL::appendingPathExtension(std::string_view extension) const
{
    const std::string_view segment = lastSegment(Parts(text_).path);
    if (segment.empty() || extension.empty() ||
        extension.find_first_of(std::string_view("/\0", 2)) != text_.npos)
        return *this;
    const auto end = static_cast<std::size_t>(segment.data() + segment.size() - text_.data());
    std::string text = text_.substr(0, end) + '.';
    appendEncoded(text, extension);
    return URL(text.append(text_, end));
}

URL URL::deletingPathExtension() const
{
    const std::string_view segment = lastSegment(Parts(text_).path);
    const std::string name = decoded(segment);
    const std::string_view extension = fileNameExtension(name);
    if (extension.empty())
        return *this;
    const std::size_t stop = name.size() - extension.size() - 1;
    std::size_t cut = 0;
    for (std::size_t byte = 0; byte < stop; ++byte)
        cut += segment[cut] == '%' ? 3U : 1U;
    const auto start = static_cast<std::size_t>(segment.data() - text_.data());
    return URL(std::string(text_).erase(start + cut, segment.size() - cut));
}

URL URL::resolvingSymlinksInPath() const
{
    if (!isFileURL())
        return *this;
    const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(path().c_str(), nullptr), std::free);
    if (!resolved)
        return *this;
    const std::string_view path = resolved.get();
    return hasDirectoryPath() && path != "/" ? fromPath(std::string(path) + '/') : fromPath(path);
}

} // namespace corvane
