// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Base/PropertyList.h>
#include <corvane/Platform/Base/UserLanguages.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <forward_list>
#include <fstream>
#include <mutex>
#include <utility>
#include <vector>

namespace corvane {

namespace {

namespace fs = std::filesystem;

// Far above any Info dictionary; a larger file is something else.
constexpr std::uintmax_t maximumInfoSize = 16 << 20;

PropertyDictionary readInfo(const fs::path& file)
{
    std::error_code error;
    if (!fs::is_regular_file(file, error)) // a pipe would make the start of the program wait
        return {};
    const std::uintmax_t size = fs::file_size(file, error);
    if (error || size > maximumInfoSize)
        return {};
    Data bytes(static_cast<std::size_t>(size));
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream)
        return {};
    const auto list = readPropertyList(bytes);
    const PropertyDictionary* info = list ? list->asDictionary() : nullptr;
    return info ? *info : PropertyDictionary();
}

Bundle findMain()
{
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    if (error)
        return Bundle::fromInfoDictionary({});
    const fs::path beside = executable.parent_path();
    for (const fs::path& folder : {beside, beside.parent_path() / "share" / executable.filename()})
        if (fs::exists(folder / "Info.plist", error))
            return Bundle::fromFolder(URL::fromPath(folder.native()));
    return Bundle::fromInfoDictionary({}, URL::fromPath(beside.native()));
}

// Every bundle that ever was the main one, so that references to it stay valid; the newest is current.
struct MainBundles {
    std::mutex lock;
    std::forward_list<Bundle> all;
    std::atomic<const Bundle*> current = nullptr;

    const Bundle& set(Bundle bundle)
    {
        all.push_front(std::move(bundle));
        current.store(&all.front(), std::memory_order_release);
        return all.front();
    }
};

MainBundles& mainBundles()
{
    static auto* const bundles = new MainBundles; // work that outlives main() may still ask
    return *bundles;
}

// "fr_CA.UTF-8@euro" gives "fr_CA", "fr-CA" and "fr".
void appendLanguages(std::vector<std::string>& languages, std::string_view locale)
{
    std::string language(locale.substr(0, locale.find_first_of(".@")));
    const std::size_t region = language.find_first_of("_-");
    if (region != language.npos) {
        for (const char separator : {'_', '-'}) {
            language[region] = separator;
            languages.push_back(language);
        }
        language.resize(region);
    }
    if (!language.empty())
        languages.push_back(std::move(language));
}

} // namespace

Bundle::Bundle(PropertyDictionary info, std::optional<URL> resources)
    : info_(std::move(info)), resources_(std::move(resources))
{}

Bundle Bundle::fromInfoDictionary(PropertyDictionary infoDictionary, std::optional<URL> resourceURL)
{
    return Bundle(std::move(infoDictionary), std::move(resourceURL));
}

Bundle Bundle::fromFolder(const URL& folder)
{
    return Bundle(readInfo(folder.appendingPathComponent("Info.plist").path()), folder);
}

const Bundle& Bundle::main()
{
    MainBundles& bundles = mainBundles();
    if (const Bundle* current = bundles.current.load(std::memory_order_acquire))
        return *current;
    const std::lock_guard guard(bundles.lock);
    if (const Bundle* current = bundles.current.load(std::memory_order_relaxed))
        return *current;
    return bundles.set(findMain());
}

void Bundle::setMain(Bundle bundle)
{
    MainBundles& bundles = mainBundles();
    const std::lock_guard guard(bundles.lock);
    bundles.set(std::move(bundle));
}

const Bundle& Bundle::library()
{
    static const auto* const bundle =
        new Bundle(fromInfoDictionary({{"CFBundleIdentifier", "org.corvane.Corvane"},
                                       {"CFBundleName", "Corvane"},
                                       {"CFBundleShortVersionString", CORVANE_VERSION}}));
    return *bundle;
}

std::optional<std::string> Bundle::bundleIdentifier() const
{
    const PropertyValue* value = objectForInfoDictionaryKey("CFBundleIdentifier");
    const std::string* text = value ? value->asString() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

std::string Bundle::developmentLanguage() const
{
    const PropertyValue* const value = objectForInfoDictionaryKey("CFBundleDevelopmentRegion");
    const std::string* const text = value ? value->asString() : nullptr;
    return text ? *text : "en";
}

std::optional<URL> Bundle::urlForResource(std::string_view name, std::string_view extension,
                                          std::string_view subdirectory) const
{
    if (!resources_ || name.empty())
        return std::nullopt;
    std::vector<std::string> folders;
    for (const std::string& language : userLanguages())
        appendLanguages(folders, language);
    appendLanguages(folders, developmentLanguage());
    for (std::string& folder : folders)
        folder += ".lproj";
    folders.emplace_back();
    for (const std::string& folder : folders) {
        URL url = *resources_;
        for (const std::string_view component : {std::string_view(folder), subdirectory, name})
            if (!component.empty())
                url = url.appendingPathComponent(component);
        url = url.appendingPathExtension(extension);
        std::error_code error;
        if (fs::exists(url.path(), error))
            return url;
    }
    return std::nullopt;
}

} // namespace corvane
