// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Storage/PrivateFolder.h>
#include <corvane/Platform/Storage/SecretServiceKeychain.h>
#include <corvane/Platform/Storage/SecretServiceSession.h>

#include <gio/gio.h>

#include <cstring>
#include <functional>
#include <utility>

namespace corvane {

namespace {

using Session = SecretServiceSession;
using Answer = Session::Answer;
using Paths = std::vector<std::string>;

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

KeychainFilter identityOf(const KeychainItem& item)
{
    KeychainFilter filter;
    filter.service = item.service;
    filter.account = item.account;
    filter.accessGroup = item.accessGroup;
    return filter;
}

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

/// One operation's talk with the service.
class Conversation {
public:
    Conversation(const Session& session, const KeychainOptions& options, const Deadline& deadline)
        : session_(session), options_(options), deadline_(deadline)
    {}

    Answer call(const std::string& path, const char* interface, const char* method, GVariant* parameters,
                const char* reply) const
    {
        return session_.call(path.c_str(), interface, method, parameters, reply, deadline_);
    }

    /// The items with these attributes: those that can be read, and those in locked collections.
    Answer search(const KeychainFilter& filter, Paths& open, Paths& locked) const
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

    Answer unlock(const Paths& paths) const
    {
        if (paths.empty())
            return {};
        Answer answer =
            call(servicePath, serviceInterface, "Unlock", g_variant_new("(@ao)", listOf(paths)), "(aoo)");
        if (!answer.value)
            return answer;
        const char* prompt = nullptr;
        g_variant_get(answer.value.get(), "(@ao&o)", nullptr, &prompt);
        return session_.perform(prompt, options_.prompting, deadline_);
    }

    /// The items of `filter`, all of them readable.
    Answer searchAndUnlock(const KeychainFilter& filter, Paths& paths) const
    {
        Paths locked;
        Answer answer = search(filter, paths, locked);
        if (answer.status != errSecSuccess || locked.empty())
            return answer;
        paths.insert(paths.end(), locked.begin(), locked.end());
        return unlock(locked);
    }

    Answer readSecrets(const Paths& paths, std::vector<KeychainMatch>& matches) const
    {
        Answer answer =
            call(servicePath, serviceInterface, "GetSecrets",
                 g_variant_new("(@aoo)", listOf(paths), session_.sessionPath()), "(a{o(oayays)})");
        if (!answer.value)
            return answer;
        const Variant secrets(g_variant_get_child_value(answer.value.get(), 0));
        for (std::size_t i = 0; i < paths.size(); ++i) {
            const Variant secret(g_variant_lookup_value(secrets.get(), paths[i].c_str(), nullptr));
            if (!secret) // removed since the search
                answer.isMissing = true;
            else if (!session_.decode(secret.get(), matches[i].secret))
                answer.status = errSecInternalComponent;
        }
        return answer;
    }

    Answer readAttributes(const std::string& path, KeychainItem& item) const
    {
        Answer answer =
            call(path, propertiesInterface, "GetAll", g_variant_new("(s)", itemInterface), "(a{sv})");
        if (answer.value)
            item = itemIn(Variant(g_variant_get_child_value(answer.value.get(), 0)).get());
        return answer;
    }

    Answer setSecret(const std::string& path, DataView secret) const
    {
        return call(path, itemInterface, "SetSecret", g_variant_new("(@(oayays))", session_.encode(secret)),
                    "()");
    }

    Answer setProperty(const std::string& path, const char* name, GVariant* value) const
    {
        return call(path, propertiesInterface, "Set", g_variant_new("(ssv)", itemInterface, name, value),
                    "()");
    }

    Answer create(const KeychainItem& item, DataView secret) const
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

    Answer remove(const std::string& path) const
    {
        Answer answer = call(path, itemInterface, "Delete", nullptr, "(o)");
        return answer.value ? performFrom(answer, 0) : std::move(answer);
    }

private:
    // The prompt that is the answer's member number `index`.
    Answer performFrom(const Answer& answer, gsize index) const
    {
        const Variant prompt(g_variant_get_child_value(answer.value.get(), index));
        return session_.perform(g_variant_get_string(prompt.get(), nullptr), options_.prompting, deadline_);
    }

    Answer tryCreate(const KeychainItem& item, DataView secret) const
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
    Answer createCollection() const
    {
        GVariantBuilder properties;
        g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
        g_variant_builder_add(&properties, "{sv}", "org.freedesktop.Secret.Collection.Label",
                              g_variant_new_string("Default keyring"));
        Answer answer = call(servicePath, serviceInterface, "CreateCollection",
                             g_variant_new("(a{sv}s)", &properties, "default"), "(oo)");
        return answer.value ? performFrom(answer, 1) : std::move(answer);
    }

    const Session& session_;
    const KeychainOptions& options_;
    const Deadline& deadline_;
};

} // namespace

struct SecretServiceKeychain::State {
    explicit State(KeychainOptions given) : options(std::move(given)) {}

    // A connection, with an encrypted session on it if `needsSession`. While one thread waits for a bus in vain, others
    // wait with it and share its failure instead of waiting as long again each.
    std::shared_ptr<Session> session(const Deadline& deadline, bool needsSession, OSStatus& status)
    {
        std::uint64_t attemptsBefore = 0;
        {
            const MutexLock lock(stateMutex);
            if (current && (!needsSession || current->hasSession()))
                return current;
            attemptsBefore = attempts;
        }
        const MutexLock opening(openMutex);
        std::shared_ptr<Session> opened;
        {
            const MutexLock lock(stateMutex);
            if (current && (!needsSession || current->hasSession()))
                return current;
            if (attempts != attemptsBefore && lastFailure != errSecSuccess) {
                status = lastFailure;
                return nullptr;
            }
        }
        // Afresh each time: one that others use is not changed under them.
        opened = Session::connect(deadline, status);
        if (opened && needsSession)
            status = opened->openSession(deadline);
        if (status != errSecSuccess)
            opened.reset();
        const MutexLock lock(stateMutex);
        ++attempts;
        lastFailure = status;
        if (opened)
            current = opened;
        return opened;
    }

    void drop(const std::shared_ptr<Session>& outdated)
    {
        const MutexLock lock(stateMutex);
        if (current == outdated)
            current.reset();
    }

    // Once more with a new session where the service was restarted, and where an item went away between two steps.
    OSStatus run(const std::function<Answer(const Conversation&)>& operation)
    {
        const Deadline deadline(options.wait);
        for (int attempt = 0;; ++attempt) {
            OSStatus status = errSecSuccess;
            const std::shared_ptr<Session> opened = session(deadline, true, status);
            if (!opened)
                return status;
            const Answer answer = operation(Conversation(*opened, options, deadline));
            if (answer.isOutdated)
                drop(opened);
            if ((!answer.isOutdated && !answer.isMissing) || attempt > 0 || deadline.isOver())
                return answer.status;
        }
    }

    // Other programs of the user do not add between our looking whether an item exists and adding it. Without a folder
    // that can be written, none of them is held out.
    Descriptor lockAdding() const
    {
        PrivateFolder folder;
        const std::optional<std::string> path = PrivateFolder::pathFor(options.folder);
        if (!path || PrivateFolder::open(*path, PrivateFolder::Creation::allowed, folder) != errSecSuccess)
            return Descriptor();
        return folder.lock("secret-service.lock", options.wait);
    }

    const KeychainOptions options;
    Mutex openMutex;
    Mutex stateMutex;
    std::shared_ptr<Session> current CORVANE_GUARDED_BY(stateMutex);
    std::uint64_t attempts CORVANE_GUARDED_BY(stateMutex) = 0;
    OSStatus lastFailure CORVANE_GUARDED_BY(stateMutex) = errSecSuccess;
};

SecretServiceKeychain::SecretServiceKeychain(KeychainOptions options)
    : state_(std::make_unique<State>(std::move(options)))
{}

SecretServiceKeychain::~SecretServiceKeychain() = default;

OSStatus SecretServiceKeychain::find(const KeychainFilter& filter, KeychainFetch fetch,
                                     std::vector<KeychainMatch>& found)
{
    std::vector<KeychainMatch> matches;
    const OSStatus status = state_->run([&](const Conversation& talk) {
        matches.clear();
        Paths paths;
        Paths locked;
        Answer answer = talk.search(filter, paths, locked);
        if (answer.status != errSecSuccess)
            return answer;
        if (fetch.onlyOne && !paths.empty())
            locked.clear();
        paths.insert(paths.end(), locked.begin(), locked.end());
        if (fetch.onlyOne)
            paths.resize(1);
        matches.resize(paths.size());
        if (!fetch.secret && !fetch.attributes)
            return answer;
        if (!locked.empty())
            answer = talk.unlock(paths);
        if (answer.status == errSecSuccess && fetch.secret)
            answer = talk.readSecrets(paths, matches);
        for (std::size_t i = 0; fetch.attributes && answer.status == errSecSuccess && i < paths.size(); ++i)
            answer = talk.readAttributes(paths[i], matches[i].item);
        return answer;
    });
    if (status == errSecSuccess)
        for (KeychainMatch& match : matches)
            found.push_back(std::move(match));
    return status;
}

OSStatus SecretServiceKeychain::add(const KeychainItem& item, DataView secret)
{
    const Descriptor lock = state_->lockAdding();
    return state_->run([&](const Conversation& talk) {
        Paths open;
        Paths locked;
        Answer answer = talk.search(identityOf(item), open, locked);
        if (answer.status == errSecItemNotFound)
            return talk.create(item, secret);
        if (answer.status == errSecSuccess)
            answer.status = errSecDuplicateItem;
        return answer;
    });
}

OSStatus SecretServiceKeychain::update(const KeychainFilter& filter, const KeychainChanges& changes)
{
    const bool changesAttributes =
        changes.label || changes.generic || changes.accessible || changes.isSynchronizable;
    return state_->run([&](const Conversation& talk) {
        Paths paths;
        Answer answer = talk.searchAndUnlock(filter, paths);
        for (const std::string& path : paths) {
            KeychainItem item;
            if (answer.status == errSecSuccess && changesAttributes)
                answer = talk.readAttributes(path, item);
            changes.apply(item);
            if (answer.status == errSecSuccess && changes.secret)
                answer = talk.setSecret(path, *changes.secret);
            if (answer.status == errSecSuccess && changesAttributes)
                answer = talk.setProperty(path, "Attributes", Attributes(item).end());
            if (answer.status == errSecSuccess && changes.label)
                answer = talk.setProperty(path, "Label", g_variant_new_string(labelOf(item).c_str()));
        }
        return answer;
    });
}

OSStatus SecretServiceKeychain::remove(const KeychainFilter& filter)
{
    return state_->run([&](const Conversation& talk) {
        Paths paths;
        Answer answer = talk.searchAndUnlock(filter, paths);
        for (const std::string& path : paths)
            if (answer.status == errSecSuccess)
                answer = talk.remove(path);
        return answer;
    });
}

SecretServiceKeychain::Presence SecretServiceKeychain::look()
{
    const Deadline deadline(state_->options.wait);
    OSStatus status = errSecSuccess;
    const std::shared_ptr<Session> session = state_->session(deadline, false, status);
    bool has = false;
    if (session) {
        status = session->hasService(deadline, has);
        if (status != errSecSuccess)
            state_->drop(session);
    }
    if (status == errSecTimedOut)
        return Presence::noAnswer;
    if (!session)
        return Presence::noBus;
    return has ? Presence::present : Presence::noService;
}

KeychainUse SecretServiceKeychain::use(std::string_view)
{
    OSStatus status = errSecSuccess;
    std::string why = "The program chose it.";
    switch (look()) {
    case Presence::present:
        break;
    case Presence::noBus:
    case Presence::noService:
        status = errSecNotAvailable;
        break;
    case Presence::noAnswer:
        status = errSecTimedOut;
        break;
    }
    return {"secret-service", status, why};
}

} // namespace corvane
