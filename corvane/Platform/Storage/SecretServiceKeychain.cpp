// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Storage/PrivateFolder.h>
#include <corvane/Platform/Storage/SecretServiceItems.h>
#include <corvane/Platform/Storage/SecretServiceKeychain.h>

#include <functional>
#include <utility>

namespace corvane {

namespace {

using Session = SecretServiceSession;
using Answer = Session::Answer;
using Paths = SecretServiceItems::Paths;

KeychainFilter identityOf(const KeychainItem& item)
{
    KeychainFilter filter;
    filter.service = item.service;
    filter.account = item.account;
    filter.accessGroup = item.accessGroup;
    return filter;
}

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
    OSStatus run(const std::function<Answer(const SecretServiceItems&)>& operation)
    {
        const Deadline deadline(options.wait);
        for (int attempt = 0;; ++attempt) {
            OSStatus status = errSecSuccess;
            const std::shared_ptr<Session> opened = session(deadline, true, status);
            if (!opened)
                return status;
            const Answer answer = operation(SecretServiceItems(*opened, options.prompting, deadline));
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
    const OSStatus status = state_->run([&](const SecretServiceItems& items) {
        matches.clear();
        Paths paths;
        Paths locked;
        Answer answer = items.search(filter, paths, locked);
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
            answer = items.unlock(paths);
        if (answer.status == errSecSuccess && fetch.secret)
            answer = items.readSecrets(paths, matches);
        for (std::size_t i = 0; fetch.attributes && answer.status == errSecSuccess && i < paths.size(); ++i)
            answer = items.readAttributes(paths[i], matches[i].item);
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
    return state_->run([&](const SecretServiceItems& items) {
        Paths open;
        Paths locked;
        Answer answer = items.search(identityOf(item), open, locked);
        if (answer.status == errSecItemNotFound)
            return items.create(item, secret);
        if (answer.status == errSecSuccess)
            answer.status = errSecDuplicateItem;
        return answer;
    });
}

OSStatus SecretServiceKeychain::update(const KeychainFilter& filter, const KeychainChanges& changes)
{
    const bool changesAttributes =
        changes.label || changes.generic || changes.accessible || changes.isSynchronizable;
    return state_->run([&](const SecretServiceItems& items) {
        Paths paths;
        Answer answer = items.searchAndUnlock(filter, paths);
        for (const std::string& path : paths) {
            KeychainItem item;
            if (answer.status == errSecSuccess && changesAttributes)
                answer = items.readAttributes(path, item);
            changes.apply(item);
            if (answer.status == errSecSuccess && changes.secret)
                answer = items.writeSecret(path, *changes.secret);
            if (answer.status == errSecSuccess && changesAttributes)
                answer = items.writeAttributes(path, item);
        }
        return answer;
    });
}

OSStatus SecretServiceKeychain::remove(const KeychainFilter& filter)
{
    return state_->run([&](const SecretServiceItems& items) {
        Paths paths;
        Answer answer = items.searchAndUnlock(filter, paths);
        for (const std::string& path : paths)
            if (answer.status == errSecSuccess)
                answer = items.remove(path);
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
