// SPDX-License-Identifier: Apache-2.0
// Beside libsecret called directly, on the session bus that the process is given; tests/Support/with-secret-service
// gives one of its own. Each side keeps its connection and encrypted session, and does the same to the same service.
#include <benchmarks/Support/Goals.h>
#include <corvane/Platform/Storage/SecretServiceKeychain.h>

#include <benchmark/benchmark.h>
#include <libsecret/secret.h>

#include <filesystem>
#include <string>
#include <vector>

namespace corvane {
namespace {

using benchmarks::RatioGoal;

constexpr const char* service = "org.example.Benchmark";
constexpr const char* text = "a secret of some thirty characters";

KeychainFilter filterFor(const char* account)
{
    KeychainFilter filter;
    filter.service = service;
    filter.account = account;
    return filter;
}

KeychainItem itemFor(const char* account)
{
    KeychainItem item;
    item.service = service;
    item.account = account;
    item.label = item.generic = account;
    item.accessible = "when-unlocked";
    return item;
}

SecretServiceKeychain& keychain()
{
    static SecretServiceKeychain keychain;
    return keychain;
}

DataView secret()
{
    return std::as_bytes(std::span(text, std::char_traits<char>::length(text)));
}

// As many attributes as an item of ours has.
const SecretSchema schema = {"org.example.Benchmark",
                             SECRET_SCHEMA_NONE,
                             {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"access-group", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"label", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"generic", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"accessible", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"synchronizable", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                             0,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr};

bool storeDirectly(const char* account)
{
    return secret_password_store_sync(&schema, SECRET_COLLECTION_DEFAULT, account, text, nullptr, nullptr,
                                      "service", service, "account", account, "access-group", "", "label",
                                      account, "generic", account, "accessible", "when-unlocked",
                                      "synchronizable", "no", nullptr) != FALSE;
}

bool clearDirectly(const char* account)
{
    return secret_password_clear_sync(&schema, nullptr, nullptr, "service", service, "account", account,
                                      nullptr) != FALSE;
}

void lookUp(benchmark::State& state)
{
    if (keychain().add(itemFor("looked-up"), secret()) != errSecSuccess)
        return state.SkipWithError("there is no secret service");
    for (auto _ : state) {
        std::vector<KeychainMatch> found;
        if (keychain().find(filterFor("looked-up"), {.secret = true, .onlyOne = true}, found) !=
            errSecSuccess)
            state.SkipWithError("not found");
    }
    keychain().remove(filterFor("looked-up"));
}
void lookUpDirectly(benchmark::State& state)
{
    if (!storeDirectly("looked-up"))
        return state.SkipWithError("there is no secret service");
    for (auto _ : state) {
        char* const found = secret_password_lookup_sync(&schema, nullptr, nullptr, "service", service,
                                                        "account", "looked-up", nullptr);
        if (!found)
            state.SkipWithError("not found");
        secret_password_free(found);
    }
    clearDirectly("looked-up");
}
BENCHMARK(lookUp)->Name("secret service, look up/Corvane")->UseRealTime();
BENCHMARK(lookUpDirectly)->Name("secret service, look up/libsecret")->UseRealTime();
const RatioGoal lookUpGoal("secret service, look up", "libsecret", 1.1);

// A new item and its removal. Ours looks first whether there is one, which it must not replace.
void addAndRemove(benchmark::State& state)
{
    for (auto _ : state)
        if (keychain().add(itemFor("added"), secret()) != errSecSuccess ||
            keychain().remove(filterFor("added")) != errSecSuccess)
            return state.SkipWithError("there is no secret service");
}
void addAndRemoveDirectly(benchmark::State& state)
{
    for (auto _ : state)
        if (!storeDirectly("added") || !clearDirectly("added"))
            return state.SkipWithError("there is no secret service");
}
BENCHMARK(addAndRemove)->Name("secret service, add and remove/Corvane")->UseRealTime();
BENCHMARK(addAndRemoveDirectly)->Name("secret service, add and remove/libsecret")->UseRealTime();
const RatioGoal addGoal("secret service, add and remove", "libsecret", 1.1);

// Another secret for an item that is there.
void replace(benchmark::State& state)
{
    if (keychain().add(itemFor("replaced"), secret()) != errSecSuccess)
        return state.SkipWithError("there is no secret service");
    KeychainChanges changes;
    changes.secret = secret();
    for (auto _ : state)
        if (keychain().update(filterFor("replaced"), changes) != errSecSuccess)
            state.SkipWithError("not replaced");
    keychain().remove(filterFor("replaced"));
}
void replaceDirectly(benchmark::State& state)
{
    for (auto _ : state)
        if (!storeDirectly("replaced"))
            return state.SkipWithError("there is no secret service");
    clearDirectly("replaced");
}
BENCHMARK(replace)->Name("secret service, replace/Corvane")->UseRealTime();
BENCHMARK(replaceDirectly)->Name("secret service, replace/libsecret")->UseRealTime();
const RatioGoal replaceGoal("secret service, replace", "libsecret", 1.1);

} // namespace
} // namespace corvane
