// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/SecretServiceItems.h>

#include <gio/gio.h>

#include <cstring>
#include <utility>

namespace corvane {

namespace {

using Answer = SecretServiceItems::Answer;
using Paths = SecretServiceItems::Paths;

constexpr const char* servicePath = "/org/freedesktop/secrets";
constexpr const char* serviceInterface = "org.freedesktop.Secret.Service";
constexpr const char* collectionPath = "/org/freedesktop/secrets/aliases/default";
constexpr const char* collectionInterface = "org.freedesktop.Secret.Collection";
constexpr const char* itemInterface = "org.freedesktop.Secret.Item";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

// The names of an item's attributes in the service. All of them are always there, empty where nothing was given: the
// service finds items by what they have, not by what they lack.
struct TextAttribute {
    const char* name;
    std::optional<std::string> KeychainFilter::*wanted;
    std::string KeychainItem::*value;
};
constexpr TextAttribute textAttributes[] = {
    {"service", &KeychainFilter::service, &KeychainItem::service},
    {"account", &KeychainFilter::account, &KeychainItem::account},
    {"access-group", &KeychainFilter::accessGroup, &KeychainItem::accessGroup},
    {"label", &KeychainFilter::label, &KeychainItem::label},
    {"generic", &KeychainFilter::generic, &KeychainItem::generic},
    {"accessible", &KeychainFilter::accessible, &KeychainItem::accessible}};
constexpr const char* schemaName = "xdg:schema";
constexpr const char* schema = "org.corvane.KeychainItem";
constexpr const char* synchronizableName = "synchronizable";

const char* flagText(bool flag)
{
    return flag ? "yes" : "no";
}

class Attributes {
public:
    Attributes()
    {
        g_variant_builder_init(&builder_, G_VARIANT_TYPE("a{ss}"));
        add(schemaName, schema);
    }
    explicit Attributes(const KeychainFilter& filter) : Attributes()
    {
        for (const auto& [name, wanted, value] : textAttributes)
            if (filter.*wanted)
                add(name, (filter.*wanted)->c_str());
        if (filter.isSynchronizable)
            add(synchronizableName, flagText(*filter.isSynchronizable));
    }
    explicit Attributes(const KeychainItem& item) : Attributes()
    {
        for (const auto& [name, wanted, value] : textAttributes)
            add(name, (item.*value).c_str());
        add(synchronizableName, flagText(item.isSynchronizable));
    }
    GVariant* end() { return g_variant_builder_end(&builder_); }

private:
    void add(const char* name, const char* value) { g_variant_builder_add(&builder_, "{ss}", name, value); }

    GVariantBuilder builder_;
};

// What a person sees in the desktop's password manager.
std::string labelOf(const KeychainItem& item)
{
    return item.label.empty() ? item.account : item.label;
}

Paths pathsIn(GVariant* list)
{
    Paths paths;
    GVariantIter iterator;
    g_variant_iter_init(&iterator, list);
    const char* path = nullptr;
    while (g_variant_iter_next(&iterator, "&o", &path))
        paths.emplace_back(path);
    return paths;
}

GVariant* listOf(const Paths& paths)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("ao"));
    for (const std::string& path : paths)
        g_variant_builder_add(&builder, "o", path.c_str());
    return g_variant_builder_end(&builder);
}

Date dateIn(GVariant* properties, const char* name)
{
    guint64 seconds = 0;
    g_variant_lookup(properties, name, "t", &seconds);
    return Date(std::chrono::seconds(static_cast<Int>(seconds)));
}

KeychainItem itemIn(GVariant* properties)
{
    KeychainItem item;
    if (const Variant attributes{g_variant_lookup_value(properties, "Attributes", G_VARIANT_TYPE("a{ss}"))}) {
        const char* text = nullptr;
        for (const auto& [name, wanted, value] : textAttributes)
            if (g_variant_lookup(attributes.get(), name, "&s", &text))
                item.*value = text;
        if (g_variant_lookup(attributes.get(), synchronizableName, "&s", &text))
            item.isSynchronizable = std::strcmp(text, flagText(true)) == 0;
    }
    item.created = dateIn(properties, "Created");
    item.modified = dateIn(properties, "Modified");
    return item;
}

} // namespace

Answer SecretServiceItems::call(const std::string& path, const char* interface, const char* method,
                                GVariant* parameters, const char* reply) const
{
    return session_.call(path.c_str(), interface, method, parameters, reply, deadline_);
}

Answer SecretServiceItems::search(const KeychainFilter& filter, Paths& open, Paths& locked) const
{
    Answer answer = call(servicePath, serviceInterface, "SearchItems",
                         g_variant_new("(@a{ss})", Attributes(filter).end()), "(aoao)");
    if (answer.value) {
        open = pathsIn(Variant(g_variant_get_child_value(answer.value.get(), 0)).get());
        locked = pathsIn(Variant(g_variant_get_child_value(answer.value.get(), 1)).get());
        if (open.empty() && locked.empty())
            answer.status = errSecItemNotFound;
    }
    return answer;
}

Answer SecretServiceItems::unlock(const Paths& paths) const
{
    if (paths.empty())
        return {};
    Answer answer =
        call(servicePath, serviceInterface, "Unlock", g_variant_new("(@ao)", listOf(paths)), "(aoo)");
    if (!answer.value)
        return answer;
    const char* prompt = nullptr;
    g_variant_get(answer.value.get(), "(@ao&o)", nullptr, &prompt);
    return session_.perform(prompt, prompting_, deadline_);
}

Answer SecretServiceItems::searchAndUnlock(const KeychainFilter& filter, Paths& paths) const
{
    Paths locked;
    Answer answer = search(filter, paths, locked);
    if (answer.status != errSecSuccess || locked.empty())
        return answer;
    paths.insert(paths.end(), locked.begin(), locked.end());
    return unlock(locked);
}

Answer SecretServiceItems::readSecrets(const Paths& paths, std::vector<KeychainMatch>& matches) const
{
    Answer answer = call(servicePath, serviceInterface, "GetSecrets",
                         g_variant_new("(@aoo)", listOf(paths), session_.sessionPath()), "(a{o(oayays)})");
    if (!answer.value)
        return answer;
    const Variant secrets(g_variant_get_child_value(answer.value.get(), 0));
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const Variant secret(g_variant_lookup_value(secrets.get(), paths[i].c_str(), nullptr));
        if (!secret) { // removed since the search
            answer.isMissing = true;
            answer.status = errSecItemNotFound;
        } else if (!session_.decode(secret.get(), matches[i].secret)) {
            answer.status = errSecInternalComponent;
        }
    }
    return answer;
}

Answer SecretServiceItems::readAttributes(const std::string& path, KeychainItem& item) const
{
    Answer answer = call(path, propertiesInterface, "GetAll", g_variant_new("(s)", itemInterface), "(a{sv})");
    if (answer.value)
        item = itemIn(Variant(g_variant_get_child_value(answer.value.get(), 0)).get());
    return answer;
}

Answer SecretServiceItems::writeSecret(const std::string& path, DataView secret) const
{
    return call(path, itemInterface, "SetSecret", g_variant_new("(@(oayays))", session_.encode(secret)),
                "()");
}

Answer SecretServiceItems::setProperty(const std::string& path, const char* name, GVariant* value) const
{
    return call(path, propertiesInterface, "Set", g_variant_new("(ssv)", itemInterface, name, value), "()");
}

Answer SecretServiceItems::writeAttributes(const std::string& path, const KeychainItem& item) const
{
    Answer answer = setProperty(path, "Attributes", Attributes(item).end());
    return answer.value ? setProperty(path, "Label", g_variant_new_string(labelOf(item).c_str()))
                        : std::move(answer);
}

Answer SecretServiceItems::create(const KeychainItem& item, DataView secret) const
{
    Answer answer = tryCreate(item, secret);
    if (answer.isLocked) {
        answer = unlock({collectionPath});
        return answer.status == errSecSuccess ? tryCreate(item, secret) : std::move(answer);
    }
    if (answer.isMissing) {
        answer = createCollection();
        return answer.status == errSecSuccess ? tryCreate(item, secret) : std::move(answer);
    }
    return answer;
}

Answer SecretServiceItems::remove(const std::string& path) const
{
    Answer answer = call(path, itemInterface, "Delete", nullptr, "(o)");
    return answer.value ? performFrom(answer, 0) : std::move(answer);
}

// The prompt that is the answer's member number `index`.
Answer SecretServiceItems::performFrom(const Answer& answer, gsize index) const
{
    const Variant prompt(g_variant_get_child_value(answer.value.get(), index));
    return session_.perform(g_variant_get_string(prompt.get(), nullptr), prompting_, deadline_);
}

Answer SecretServiceItems::tryCreate(const KeychainItem& item, DataView secret) const
{
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Label",
                          g_variant_new_string(labelOf(item).c_str()));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Item.Attributes",
                          Attributes(item).end());
    Answer answer =
        call(collectionPath, collectionInterface, "CreateItem",
             g_variant_new("(a{sv}@(oayays)b)", &properties, session_.encode(secret), TRUE), "(oo)");
    return answer.value ? performFrom(answer, 1) : std::move(answer);
}

// A user who never stored a secret has none.
Answer SecretServiceItems::createCollection() const
{
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Collection.Label",
                          g_variant_new_string("Default keyring"));
    Answer answer = call(servicePath, serviceInterface, "CreateCollection",
                         g_variant_new("(a{sv}s)", &properties, "default"), "(oo)");
    return answer.value ? performFrom(answer, 1) : std::move(answer);
}

} // namespace corvane
