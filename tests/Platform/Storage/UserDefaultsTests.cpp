// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Base/PropertyArchive.h>
#include <corvane/Platform/Storage/UserDefaults.h>

#include <Support/ChildProcess.h>
#include <Support/EnvironmentVariable.h>
#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using std::string_literals::operator""s;
using tests::ChildProcess;
using tests::TemporaryFolder;
using State = UserDefaultsState;

const std::string probe = CORVANE_DEFAULTS_PROBE;

UserDefaults suiteIn(const TemporaryFolder& folder)
{
    return UserDefaults("suite", URL::fromPath(folder.path().string()));
}

TEST(UserDefaultsTests, TypedReadsConvertAsTheTableSays)
{
    constexpr Int least = std::numeric_limits<Int>::min();
    constexpr Int most = std::numeric_limits<Int>::max();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    struct Row {
        PropertyValue stored;
        std::optional<std::string> string;
        bool truth;
        Int integer;
        double real;
    };
    const Row rows[] = {
        {true, "1", true, 1, 1},
        {false, "0", false, 0, 0},
        {-7, "-7", true, -7, -7},
        {least, "-9223372036854775808", true, least, -0x1p63},
        {std::numeric_limits<std::uint64_t>::max(), "18446744073709551615", true, most, 0x1p64},
        {2.75, "2.75", true, 2, 2.75},
        {-2.75, "-2.75", true, -2, -2.75},
        {1e300, "1e+300", true, most, 1e300},
        {0.1F, "0.1", true, 0, static_cast<double>(0.1F)},
        {-0.0, "-0.0", false, 0, 0},
        {infinity, "inf", true, most, infinity},
        {"", "", false, 0, 0},
        {"text", "text", true, 0, 0},
        {"yes", "yes", true, 0, 0},
        {"NO", "NO", false, 0, 0},
        {" \t-0042.5 columns", " \t-0042.5 columns", true, -42, -42.5},
        {"+7", "+7", true, 7, 7},
        {"+-7", "+-7", false, 0, 0},
        {"00", "00", false, 0, 0},
        {"x1", "x1", false, 0, 0},
        {"99999999999999999999", "99999999999999999999", true, most, 1e20},
        {"-99999999999999999999", "-99999999999999999999", true, least, -1e20},
        {"1e400", "1e400", true, 1, infinity},
        {"1e-400", "1e-400", true, 1, 0},
        {Data{std::byte{'1'}}, {}, false, 0, 0},
        {Date(std::chrono::microseconds(1)), {}, false, 0, 0},
        {PropertyArray{1}, {}, false, 0, 0},
        {PropertyDictionary{{"1", 1}}, {}, false, 0, 0}};
    const UserDefaults defaults = UserDefaults::inMemory();
    for (const Row& row : rows) {
        ASSERT_TRUE(defaults.setObject(row.stored, "key"));
        SCOPED_TRACE(row.string.value_or("no text, row " + std::to_string(&row - rows)));
        EXPECT_EQ(defaults.stringForKey("key"), row.string);
        EXPECT_EQ(defaults.boolForKey("key"), row.truth);
        EXPECT_EQ(defaults.integerForKey("key"), row.integer);
        EXPECT_EQ(defaults.doubleForKey("key"), row.real);
        EXPECT_EQ(defaults.floatForKey("key"), static_cast<float>(row.real));
        EXPECT_EQ(defaults.dataForKey("key").has_value(), row.stored.asData() != nullptr);
        EXPECT_EQ(defaults.arrayForKey("key").has_value(), row.stored.asArray() != nullptr);
        EXPECT_EQ(defaults.dictionaryForKey("key").has_value(), row.stored.asDictionary() != nullptr);
        EXPECT_EQ(defaults.objectForKey("key"), row.stored);
    }
    defaults.setObject(std::nan(""), "key");
    EXPECT_EQ(defaults.integerForKey("key"), 0);
    EXPECT_TRUE(std::isnan(defaults.doubleForKey("key")));

    const URL url = *URL::fromString("https://example.org/a%20b?q#f");
    EXPECT_TRUE(defaults.setURL(url, "url"));
    EXPECT_EQ(defaults.urlForKey("url"), url);
    EXPECT_EQ(defaults.stringForKey("url"), url.absoluteString());
    defaults.setObject("no url: %", "url");
    EXPECT_FALSE(defaults.urlForKey("url"));
    EXPECT_TRUE(defaults.setURL(std::nullopt, "url"));
    EXPECT_FALSE(defaults.hasObjectForKey("url"));

    EXPECT_FALSE(defaults.stringForKey("missing"));
    EXPECT_FALSE(defaults.boolForKey("missing"));
    EXPECT_EQ(defaults.integerForKey("missing"), 0);
}

TEST(UserDefaultsTests, EveryValueComesBackFromItsFile)
{
    const PropertyDictionary values = {{"least", std::numeric_limits<Int>::min()},
                                       {"most", std::numeric_limits<std::uint64_t>::max()},
                                       {"unsigned", 3U},
                                       {"nan", std::nan("")},
                                       {"infinity", -std::numeric_limits<double>::infinity()},
                                       {"zero", -0.0},
                                       {"single", 0.1F},
                                       {"truth", true},
                                       {"date", Date(std::chrono::microseconds(-1))},
                                       {"empty", ""},
                                       {"no bytes", Data{}},
                                       {"bytes", Data(100000, std::byte{0xff})},
                                       {"text", "a\0b \xF0\x9F\x8C\x8A \xFF"s},
                                       {"", PropertyArray{1, PropertyDictionary{{"deep", PropertyArray{}}}}},
                                       {"key\0with zero"s, 1},
                                       {"key\0with another"s, 2},
                                       {"\xFF no Unicode", 3},
                                       {std::string(5000, 'k'), 4}};
    const TemporaryFolder folder;
    PropertyValue tooDeep = 1;
    for (int level = 0; level < 300; ++level)
        tooDeep = PropertyArray{tooDeep};
    {
        const UserDefaults defaults = suiteIn(folder);
        ASSERT_EQ(defaults.state(), State::ready);
        for (const auto& [key, value] : values)
            EXPECT_TRUE(defaults.setObject(value, key));
        EXPECT_FALSE(defaults.setObject(tooDeep, "truth"));
        EXPECT_TRUE(defaults.lastFailure());
        EXPECT_TRUE(defaults.synchronize());
        EXPECT_FALSE(defaults.lastFailure());
    }
    EXPECT_EQ(fs::status(folder / "suite.sqlite").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    const UserDefaults defaults = suiteIn(folder);
    EXPECT_EQ(defaults.dictionaryRepresentation().size(), values.size());
    for (const auto& [key, value] : values) {
        const auto stored = defaults.objectForKey(key);
        ASSERT_TRUE(stored) << key;
        EXPECT_EQ(archivedData(*stored), archivedData(value)) << key; // in kind and to the bit
    }
}

TEST(UserDefaultsTests, PlacesAndNames)
{
    const TemporaryFolder home;
    const tests::EnvironmentVariable data("XDG_DATA_HOME", home.path().c_str());
    const Bundle before = Bundle::main();
    Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleIdentifier", "org.example.Gallery"}}));
    const UserDefaults defaults("../odd/%name");
    EXPECT_EQ(defaults.suiteName(), "../odd/%name");
    EXPECT_EQ(defaults.fileURL()->path(), home / "org.example.Gallery/%2E.%2Fodd%2F%25name.sqlite");
    EXPECT_TRUE(defaults.setObject(1, "key"));
    EXPECT_EQ(fs::status(home / "org.example.Gallery").permissions(), fs::perms::owner_all);
    {
        const tests::EnvironmentVariable relative("XDG_DATA_HOME", "relative");
        const tests::EnvironmentVariable fallback("HOME", home.path().c_str());
        EXPECT_EQ(UserDefaults("x").fileURL()->path(), home / ".local/share/org.example.Gallery/x.sqlite");
    }
    Bundle::setMain(Bundle::fromInfoDictionary({}));
    EXPECT_EQ(UserDefaults("x").fileURL()->path(), home / "corvane_app_tests/x.sqlite");
    Bundle::setMain(before);

    const UserDefaults memory = UserDefaults::inMemory();
    EXPECT_FALSE(memory.fileURL());
    EXPECT_EQ(memory.state(), State::memory);
    EXPECT_TRUE(memory.synchronize());
    EXPECT_NE(memory, UserDefaults::inMemory());
}

TEST(UserDefaultsTests, HandlesOfOneFileAgreeAtOnce)
{
    const TemporaryFolder folder;
    folder.makeFolder("real");
    fs::create_symlink("real", folder / "link");
    const UserDefaults one("suite", URL::fromPath(folder / "real"));
    const UserDefaults other("suite", URL::fromPath(folder / "link/../link"));
    EXPECT_EQ(one, other);
    EXPECT_TRUE(one.setObject(1, "key"));
    EXPECT_EQ(other.integerForKey("key"), 1);
    EXPECT_TRUE(other.removeObjectForKey("key"));
    EXPECT_FALSE(one.hasObjectForKey("key"));
    EXPECT_NE(one, UserDefaults("suite2", URL::fromPath(folder / "real")));
}

TEST(UserDefaultsTests, TransactionsAreWholeAndUnseenUntilTheyEnd)
{
    const TemporaryFolder folder;
    for (const UserDefaults& defaults : {UserDefaults::inMemory(), suiteIn(folder)}) {
        defaults.setObject(1, "a");
        defaults.setObject(2, "b");
        EXPECT_TRUE(defaults.transaction([&] {
            defaults.setObject(10, "a");
            defaults.removeObjectForKey("b");
            defaults.transaction([&] { defaults.setObject(3, "c"); });
            EXPECT_EQ(defaults.dictionaryRepresentation(), (PropertyDictionary{{"a", 10}, {"c", 3}}));
            EXPECT_FALSE(defaults.hasObjectForKey("b"));
            EXPECT_FALSE(defaults.synchronize());
            std::thread([&] {
                EXPECT_EQ(defaults.dictionaryRepresentation(), (PropertyDictionary{{"a", 1}, {"b", 2}}));
            }).join();
        }));
        EXPECT_EQ(defaults.dictionaryRepresentation(), (PropertyDictionary{{"a", 10}, {"c", 3}}));
        EXPECT_THROW(defaults.transaction([&] {
            defaults.setObject(11, "a");
            throw std::runtime_error("no");
        }),
                     std::runtime_error);
        PropertyValue tooDeep = 1;
        for (int level = 0; level < 300; ++level)
            tooDeep = PropertyArray{tooDeep};
        EXPECT_FALSE(defaults.transaction([&] {
            defaults.setObject(12, "a");
            defaults.setObject(tooDeep, "d");
        }));
        EXPECT_EQ(defaults.dictionaryRepresentation(), (PropertyDictionary{{"a", 10}, {"c", 3}}));
        EXPECT_TRUE(defaults.setObject(1, "after"));
    }
    EXPECT_EQ(suiteIn(folder).integerForKey("a"), 10);
}

TEST(UserDefaultsTests, RandomOperationsAgreeWithAMap)
{
    const TemporaryFolder folder(TemporaryFolder::inMemory());
    std::mt19937 random(7);
    std::map<std::string, Int> model;
    auto defaults = std::make_unique<UserDefaults>(suiteIn(folder));
    const auto change = [&](std::map<std::string, Int>& into) {
        const std::string key = "key" + std::to_string(random() % 300);
        if (random() % 3 == 0) {
            into.erase(key);
            EXPECT_TRUE(defaults->removeObjectForKey(key));
        } else {
            into[key] = static_cast<Int>(random());
            EXPECT_TRUE(defaults->setObject(into[key], key));
        }
    };
    for (int step = 0; step < 6000; ++step) {
        switch (random() % 20) {
        case 0: // closed and opened again
            defaults.reset();
            defaults = std::make_unique<UserDefaults>(suiteIn(folder));
            break;
        case 1:
            EXPECT_TRUE(random() % 10 != 0 || defaults->synchronize());
            break;
        case 2: {
            auto after = model;
            const bool fails = random() % 2 == 0;
            try {
                defaults->transaction([&] {
                    for (auto changes = random() % 6; changes > 0; --changes)
                        change(after);
                    if (fails)
                        throw 1;
                });
                model = after;
            } catch (int) {
            }
            break;
        }
        case 3: // a second writer of this process
            std::thread([&] { change(model); }).join();
            break;
        default:
            change(model);
        }
        const std::string key = "key" + std::to_string(random() % 300);
        ASSERT_EQ(defaults->hasObjectForKey(key), model.contains(key)) << step;
        ASSERT_EQ(defaults->integerForKey(key), model.contains(key) ? model[key] : 0) << step;
    }
    PropertyDictionary expected;
    for (const auto& [key, value] : model)
        expected.emplace(key, value);
    EXPECT_EQ(defaults->dictionaryRepresentation(), expected);
}

TEST(UserDefaultsTests, ProcessesNeverLoseEachOthersIncrements)
{
    const TemporaryFolder folder(TemporaryFolder::inMemory());
    std::vector<std::unique_ptr<ChildProcess>> processes;
    for (int i = 0; i < 4; ++i)
        processes.push_back(std::make_unique<ChildProcess>(
            std::vector<std::string>{probe, "increment", folder.path().string(), "2500"}));
    const UserDefaults defaults = suiteIn(folder);
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(
            defaults.transaction([&] { defaults.setObject(defaults.integerForKey("count") + 1, "count"); }));
    for (const auto& process : processes)
        EXPECT_EQ(process->wait(), 0) << process->output;
    EXPECT_TRUE(defaults.transaction([] {})); // takes in what was written
    EXPECT_EQ(defaults.integerForKey("count"), 10100);
    EXPECT_EQ(suiteIn(folder).filesSetAside().size(), 0);
}

// The median time, in microseconds, after which a listening process is told of a write of this one.
long delayOfWrites(const UserDefaults& defaults, ChildProcess& listener)
{
    using namespace std::chrono;
    std::vector<long> delays;
    for (int i = 0; i < 20; ++i) {
        defaults.setObject(Int{duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count()},
                           "sent");
        delays.push_back(std::stol(listener.readMessage()));
    }
    defaults.setObject(true, "end");
    EXPECT_EQ(listener.wait(), 0);
    std::ranges::sort(delays);
    EXPECT_GT(delays.front(), 0);
    return delays[delays.size() / 2];
}

TEST(UserDefaultsTests, WritesOfOthersArriveByThemselves)
{
    const TemporaryFolder folder(TemporaryFolder::inMemory());
    const UserDefaults defaults = suiteIn(folder);
    defaults.setObject("there before", "kept");
    ChildProcess listener({probe, "listen", folder.path().string()});
    ASSERT_EQ(listener.readMessage(), "ready\n");
    EXPECT_LT(delayOfWrites(defaults, listener), 100000);
}

TEST(UserDefaultsTests, WritesOfOthersArriveWhereTheSystemGrantsNoWatch)
{
    const TemporaryFolder folder(TemporaryFolder::inMemory());
    const UserDefaults defaults = suiteIn(folder);
    ChildProcess listener({"/usr/bin/env", "unshare", "-rU", "sh", "-c",
                           "echo 0 > /proc/sys/user/max_inotify_instances && exec '" + probe + "' listen '" +
                               folder.path().string() + "'"});
    if (listener.readMessage() != "ready\n")
        GTEST_SKIP() << "a process without watches cannot be made here";
    EXPECT_LT(delayOfWrites(defaults, listener), 100000);
}

// --- damage ---------------------------------------------------------------------------------------------------

std::vector<std::string> namesIn(const TemporaryFolder& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path()))
        names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

// A suite of 60 entries in a file that is closed; the bytes of it.
std::string makeSuite(const TemporaryFolder& folder)
{
    {
        const UserDefaults defaults = suiteIn(folder);
        defaults.transaction([&] {
            for (int i = 0; i < 60; ++i)
                defaults.setObject(std::string(static_cast<std::size_t>(10 + i * 7), 'v'),
                                   "key" + std::to_string(i));
            defaults.setObject(std::string(9000, 'w'), "long");
        });
    }
    return TemporaryFolder::read(folder / "suite.sqlite");
}

TEST(UserDefaultsTests, WhatCannotBeReadIsKeptAsideAndReported)
{
    const TemporaryFolder pristine;
    const std::string whole = makeSuite(pristine);
    for (const std::string& damaged : {whole.substr(0, whole.size() / 2), whole.substr(0, whole.size() - 1),
                                       ""s, "[General]\nkey=1\n"s, std::string(10000, '\0')}) {
        const TemporaryFolder folder;
        folder.write("suite.sqlite", damaged);
        const UserDefaults defaults = suiteIn(folder);
        EXPECT_EQ(defaults.state(), State::ready) << damaged.size();
        ASSERT_EQ(defaults.filesSetAside().size(), 1U) << damaged.size();
        EXPECT_EQ(defaults.filesSetAside()[0].path(), folder / "suite.sqlite.damaged-1");
        EXPECT_EQ(TemporaryFolder::read(folder / "suite.sqlite.damaged-1"), damaged);
        EXPECT_TRUE(defaults.dictionaryRepresentation().empty());
        EXPECT_TRUE(defaults.setObject(1, "key"));
    }
    const TemporaryFolder folder; // twice: the first is not overwritten by the second
    folder.write("suite.sqlite/note.txt", "a folder");
    EXPECT_EQ(suiteIn(folder).filesSetAside()[0].path(), folder / "suite.sqlite.damaged-1");
    folder.write("suite.sqlite", "second");
    EXPECT_EQ(suiteIn(folder).filesSetAside()[0].path(), folder / "suite.sqlite.damaged-2");
    EXPECT_EQ(TemporaryFolder::read(folder / "suite.sqlite.damaged-1/note.txt"), "a folder");
    EXPECT_EQ(TemporaryFolder::read(folder / "suite.sqlite.damaged-2"), "second");
    EXPECT_TRUE(suiteIn(folder).filesSetAside().empty());
}

TEST(UserDefaultsTests, FlippedBytesNeverPassForAValue)
{
    const TemporaryFolder pristine;
    const std::string whole = makeSuite(pristine);
    const PropertyDictionary expected = suiteIn(pristine).dictionaryRepresentation();
    std::mt19937 random(3);
    int reported = 0;
    for (int round = 0; round < 300; ++round) {
        const TemporaryFolder folder(TemporaryFolder::inMemory());
        std::string damaged = whole;
        for (int flips = 1 + round % 4 * 3; flips > 0; --flips)
            damaged[random() % damaged.size()] ^= static_cast<char>(1 + random() % 255);
        folder.write("suite.sqlite", damaged);
        const UserDefaults defaults = suiteIn(folder);
        ASSERT_EQ(defaults.state(), State::ready)
            << round << (defaults.lastFailure() ? defaults.lastFailure()->message : "");
        if (defaults.filesSetAside().empty()) {
            ASSERT_EQ(defaults.dictionaryRepresentation(), expected) << round;
        } else {
            ++reported;
            EXPECT_EQ(TemporaryFolder::read(defaults.filesSetAside()[0].path()), damaged);
            EXPECT_TRUE(defaults.dictionaryRepresentation().empty());
        }
        EXPECT_TRUE(defaults.setObject(1, "key")) << round;
    }
    EXPECT_GT(reported, 200);
}

TEST(UserDefaultsTests, AFileThatGoesOrBreaksWhileInUseLosesNothing)
{
    const TemporaryFolder folder;
    const UserDefaults defaults = suiteIn(folder);
    for (int i = 0; i < 200; ++i)
        defaults.setObject(std::string(100, 'v'), "key" + std::to_string(i));
    ASSERT_TRUE(defaults.synchronize());
    // Other processes: closing the file in this one would drop its locks.
    ChildProcess overwrite(
        {"/bin/sh", "-c", "printf broken | dd of=\"$0\" conv=notrunc 2>/dev/null", folder / "suite.sqlite"});
    ASSERT_EQ(overwrite.wait(), 0);
    ChildProcess other({probe, "increment", folder.path().string(), "1"});
    ASSERT_EQ(other.wait(), 0) << other.output;
    EXPECT_TRUE(fs::exists(folder / "suite.sqlite.damaged-1"));
    EXPECT_TRUE(defaults.transaction([&] { defaults.setObject("new", "key1"); }));
    EXPECT_EQ(defaults.integerForKey("count"), 1);
    EXPECT_EQ(defaults.dictionaryRepresentation().size(), 201U);
    fs::rename(folder / "suite.sqlite", folder / "elsewhere.sqlite");
    EXPECT_TRUE(defaults.setObject("new", "key0"));
    EXPECT_TRUE(fs::exists(folder / "suite.sqlite"));
    EXPECT_EQ(defaults.stringForKey("key0"), "new");
}

TEST(UserDefaultsTests, WithoutPermissionAProgramStartsAndIsTold)
{
    const auto outcome = [](const TemporaryFolder& folder) {
        ChildProcess process({probe, "open", folder.path().string()});
        EXPECT_EQ(process.wait(), 0) << "or there is nobody to be";
        return process.output;
    };
    const auto prepare = [](const TemporaryFolder& folder, fs::perms ofFile, fs::perms ofFolder) {
        suiteIn(folder).setObject("before", "kept");
        fs::permissions(folder / "suite.sqlite", ofFile);
        fs::permissions(folder.path(), ofFolder);
    };
    constexpr fs::perms readable = fs::perms::owner_read | fs::perms::others_read | fs::perms::group_read;
    constexpr fs::perms enterable =
        fs::perms::owner_exec | fs::perms::others_exec | fs::perms::others_read | fs::perms::owner_read;
    {
        const TemporaryFolder folder;
        prepare(folder, fs::perms::none, fs::perms::all);
        EXPECT_EQ(outcome(folder), "state 1, nothing, aside 1, written\n");
        EXPECT_THAT(namesIn(folder), testing::Contains("suite.sqlite.damaged-1"));
    }
    {
        const TemporaryFolder folder;
        prepare(folder, readable, enterable);
        EXPECT_EQ(outcome(folder), "state 2, before, aside 0, refused\n");
        EXPECT_THAT(namesIn(folder), testing::ElementsAre("suite.sqlite"));
        fs::permissions(folder.path(), fs::perms::owner_all);
    }
    {
        const TemporaryFolder folder;
        prepare(folder, fs::perms::none, enterable);
        EXPECT_EQ(outcome(folder), "state 3, nothing, aside 0, refused\n");
        fs::permissions(folder.path(), fs::perms::owner_all);
    }
    const TemporaryFolder folder;
    fs::create_symlink("missing", folder / "suite.sqlite");
    for (const std::string& place : {folder.path().string(), "/proc/no/such/place"s}) {
        const UserDefaults nowhere("suite", URL::fromPath(place));
        EXPECT_EQ(nowhere.state(), State::unavailable);
        EXPECT_FALSE(nowhere.setObject(1, "key"));
        EXPECT_EQ(nowhere.lastFailure()->kind, UserDefaultsFailure::Kind::denied);
        EXPECT_FALSE(nowhere.hasObjectForKey("key"));
    }
    EXPECT_THAT(namesIn(folder), testing::ElementsAre("suite.sqlite"));
}

// A real full disk where this process may mount one, in a name space of its own; otherwise a limit on the size of
// files, which the database meets in the same place.
TEST(UserDefaultsTests, AFullDiskFailsWritesAndNothingElse)
{
    const TemporaryFolder folder;
    const std::string disk = folder.makeFolder("disk");
    const std::string mount = "mount -t tmpfs -o size=2m none '" + disk + "'";
    ChildProcess attempt({"/usr/bin/env", "unshare", "-rm", "sh", "-c", mount});
    const bool canMount = attempt.wait() == 0;
    RecordProperty("disk", canMount ? "tmpfs" : "limit on the size of files");
    ChildProcess process =
        canMount ? ChildProcess({"/usr/bin/env", "unshare", "-rm", "sh", "-c",
                                 mount + " && head -c 1500000 /dev/zero > '" + disk + "/ballast' && exec '" +
                                     probe + "' full '" + disk + "/suite' '" + disk + "/ballast'"})
                 : ChildProcess({probe, "full", disk});
    EXPECT_EQ(process.wait(), 0) << process.output << process.messages;
}

} // namespace
} // namespace corvane
