// SPDX-License-Identifier: Apache-2.0
// Reading and writing one secret among a thousand, by service and account, as an application does.
#include <benchmarks/Support/Goals.h>
#include <corvane/Platform/Storage/VaultKeychain.h>
#include <corvane/UserKeychain/UserKeychain.h>

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

namespace corvane {
namespace {

using benchmarks::TimeGoal;

/// A vault of a thousand secrets of 64 bytes in a folder that is gone at the end.
class Vault {
public:
    Vault()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "corvane-vault-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
        options.folder = folder_ + "/vault";
        keychain = std::make_shared<VaultKeychain>(options);
        setSharedKeychain(keychain);
        for (int i = 0; i < 1000; ++i)
            items.set(std::string(64, 'x'), {std::to_string(i)});
    }
    Vault(const Vault&) = delete;
    Vault& operator=(const Vault&) = delete;
    ~Vault()
    {
        keychain.reset();
        setSharedKeychain(nullptr);
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    KeychainOptions options;
    std::shared_ptr<VaultKeychain> keychain;
    const UserKeychain items{"org.example.Benchmark"};

private:
    std::string folder_;
};

KeychainFilter filterFor(int number)
{
    KeychainFilter filter;
    filter.service = "org.example.Benchmark";
    filter.account = std::to_string(number % 1000);
    return filter;
}

void read(benchmark::State& state)
{
    const Vault vault;
    int number = 0;
    for (auto _ : state) {
        std::vector<KeychainMatch> found;
        if (vault.keychain->find(filterFor(number += 7), {.secret = true, .onlyOne = true}, found) !=
            errSecSuccess)
            state.SkipWithError("not found");
    }
}
BENCHMARK(read)->Name("vault, read/Corvane")->UseRealTime();
const TimeGoal readGoal("vault, read", 20'000); // 50,000 a second

void readThroughUserKeychain(benchmark::State& state)
{
    const Vault vault;
    int number = 0;
    for (auto _ : state)
        if (!vault.items.data({std::to_string((number += 7) % 1000)}))
            state.SkipWithError("not found");
}
BENCHMARK(readThroughUserKeychain)->Name("vault, read through UserKeychain/Corvane")->UseRealTime();
const TimeGoal userReadGoal("vault, read through UserKeychain", 20'000);

// Each is done when its call returns: it survives the end of the process.
void write(benchmark::State& state)
{
    const Vault vault;
    const Data secret(64, std::byte{'y'});
    KeychainChanges changes;
    changes.secret = secret;
    int number = 0;
    for (auto _ : state)
        if (vault.keychain->update(filterFor(number += 7), changes) != errSecSuccess)
            state.SkipWithError("not written");
}
BENCHMARK(write)->Name("vault, write/Corvane")->UseRealTime();
const TimeGoal writeGoal("vault, write", 500'000); // 2,000 a second

void writeThroughUserKeychain(benchmark::State& state)
{
    const Vault vault;
    const std::string secret(64, 'y');
    int number = 0;
    for (auto _ : state)
        if (!vault.items.set(secret, {std::to_string((number += 7) % 1000)}))
            state.SkipWithError("not written");
}
BENCHMARK(writeThroughUserKeychain)->Name("vault, write through UserKeychain/Corvane")->UseRealTime();
const TimeGoal userWriteGoal("vault, write through UserKeychain", 500'000);

// The first operation of a process: the key, and the check of all thousand items.
void open(benchmark::State& state)
{
    const Vault vault;
    for (auto _ : state) {
        VaultKeychain another(vault.options);
        if (another.use("org.example.Benchmark").status != errSecSuccess)
            state.SkipWithError("refused");
    }
}
BENCHMARK(open)->Name("vault, open/Corvane")->UseRealTime();

} // namespace
} // namespace corvane
