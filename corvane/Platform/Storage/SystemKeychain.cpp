// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Storage/KeychainPins.h>
#include <corvane/Platform/Storage/SecretServiceKeychain.h>
#include <corvane/Platform/Storage/SystemKeychain.h>
#include <corvane/Platform/Storage/VaultKeychain.h>

#include <string>
#include <utility>

namespace corvane {

namespace {

/// Where an operation goes, or why it does not.
struct Route {
    Keychain* keychain = nullptr;
    OSStatus status = errSecSuccess;
    std::string name = {};
    std::string why = {};
    bool isPinned = false;
};

constexpr const char* serviceName = "secret-service";
constexpr const char* vaultName = "vault";

} // namespace

struct SystemKeychain::State {
    State(KeychainOptions given, KeychainChoice chosen)
        : options(std::move(given)), choice(chosen), pins(options), secretService(options), vault(options)
    {}

    Route named(const std::string& name, std::string why)
    {
        if (name != serviceName && name != vaultName)
            return {nullptr, errSecStoredElsewhere, name,
                    "The items are kept in a keychain that is not known here."};
        Keychain* const keychain = name == vaultName ? static_cast<Keychain*>(&vault) : &secretService;
        return {keychain, errSecSuccess, name, std::move(why)};
    }

    // For a service without items.
    Route unpinned()
    {
        if (choice != KeychainChoice::automatic)
            return named(choice == KeychainChoice::vault ? vaultName : serviceName, "The program chose it.");
        {
            const MutexLock lock(mutex);
            if (decided.keychain)
                return decided;
        }
        // Asked outside the lock: the answer may take as long as the wait.
        Route route;
        switch (secretService.look()) {
        case SecretServiceKeychain::Presence::present:
            route = named(serviceName, "The session offers a secret service.");
            break;
        case SecretServiceKeychain::Presence::noBus:
            route = named(vaultName, "There is no session bus.");
            break;
        case SecretServiceKeychain::Presence::noService:
            route = named(vaultName, "Nobody on the session bus offers a secret service.");
            break;
        case SecretServiceKeychain::Presence::noAnswer:
            return {nullptr, errSecTimedOut, {}, "The session bus does not answer."};
        }
        const MutexLock lock(mutex);
        if (!decided.keychain)
            decided = std::move(route);
        return decided;
    }

    Route route(const std::optional<std::string>& service)
    {
        std::string noted;
        if (service)
            if (const OSStatus status = pins.find(*service, noted); status != errSecSuccess)
                return {
                    nullptr, status, {}, "It cannot be told which keychain keeps the items of this service."};
        if (noted.empty())
            return unpinned();
        Route result = named(noted, "The first item of this service was stored there.");
        result.isPinned = true;
        if (choice != KeychainChoice::automatic && (choice == KeychainChoice::vault) != (noted == vaultName))
            return {nullptr, errSecStoredElsewhere, noted,
                    "The program chose another than the service's items are in."};
        return result;
    }

    const KeychainOptions options;
    const KeychainChoice choice;
    KeychainPins pins;
    SecretServiceKeychain secretService;
    VaultKeychain vault;
    Mutex mutex;
    Route decided CORVANE_GUARDED_BY(mutex);
};

SystemKeychain::SystemKeychain(KeychainOptions options, KeychainChoice choice)
    : state_(std::make_unique<State>(std::move(options), choice))
{}

SystemKeychain::~SystemKeychain() = default;

OSStatus SystemKeychain::find(const KeychainFilter& filter, KeychainFetch fetch,
                              std::vector<KeychainMatch>& found)
{
    const Route route = state_->route(filter.service);
    return route.keychain ? route.keychain->find(filter, fetch, found) : route.status;
}

OSStatus SystemKeychain::add(const KeychainItem& item, DataView secret)
{
    const Route route = state_->route(item.service);
    if (!route.keychain || route.isPinned)
        return route.keychain ? route.keychain->add(item, secret) : route.status;
    const OSStatus status =
        state_->pins.pin(item.service, route.name, [&] { return route.keychain->add(item, secret); });
    if (status != errSecStoredElsewhere)
        return status;
    // Another process stored the first item meanwhile, and somewhere else.
    const Route other = state_->route(item.service);
    return other.keychain && other.isPinned ? other.keychain->add(item, secret) : status;
}

OSStatus SystemKeychain::update(const KeychainFilter& filter, const KeychainChanges& changes)
{
    const Route route = state_->route(filter.service);
    return route.keychain ? route.keychain->update(filter, changes) : route.status;
}

OSStatus SystemKeychain::remove(const KeychainFilter& filter)
{
    const Route route = state_->route(filter.service);
    return route.keychain ? route.keychain->remove(filter) : route.status;
}

KeychainUse SystemKeychain::use(std::string_view service)
{
    const std::string name(service);
    const Route route = state_->route(name);
    if (!route.keychain)
        return {route.name, route.status, route.why};
    return {route.name, route.keychain->use(service).status, route.why};
}

OSStatus SystemKeychain::forget(std::string_view service)
{
    return state_->pins.unpin(std::string(service));
}

} // namespace corvane
