// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/VaultKeychain.h>

#include <Support/KeychainConformance.h>
#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using tests::bytesOf;
using tests::keychainFilter;
using tests::keychainItem;
using tests::secretIn;
using tests::TemporaryFolder;

KeychainOptions optionsFor(const std::string& folder)
{
    KeychainOptions options;
    options.folder = folder;
    return options;
}

/// A vault with three items, and the means of somebody who may write its files.
class VaultKeychainTests : public testing::Test {
protected:
    void SetUp() override
    {
        for (const char* account : {"a", "b", "c"})
            ASSERT_EQ(
                open()->add(keychainItem("mail", account), bytesOf(std::string("secret of ") + account)),
                errSecSuccess);
    }

    std::unique_ptr<VaultKeychain> open() const { return std::make_unique<VaultKeychain>(optionsFor(vault)); }

    void execute(const std::string& sql) const
    {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open((vault + "/vault.sqlite").c_str(), &database), SQLITE_OK);
        char* message = nullptr;
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK) << message;
        sqlite3_free(message);
        sqlite3_close(database);
    }

    /// All that is stored in the database, wherever its files have it.
    std::string storedRows() const
    {
        sqlite3* database = nullptr;
        EXPECT_EQ(sqlite3_open((vault + "/vault.sqlite").c_str(), &database), SQLITE_OK);
        std::string all;
        const auto append = [](void* text, int count, char** values, char**) {
            for (int i = 0; i < count; ++i)
                static_cast<std::string*>(text)->append(values[i] ? values[i] : "null").append(" ");
            return 0;
        };
        for (const char* sql : {"SELECT format, hex(state) FROM vault",
                                "SELECT hex(pair), hex(place), hex(mark), hex(box) FROM items"})
            sqlite3_exec(database, sql, append, &all, nullptr);
        sqlite3_close(database);
        return all;
    }

    /// All bytes of all files.
    std::string content() const
    {
        std::string all;
        for (const auto& entry : fs::directory_iterator(vault))
            if (entry.is_regular_file())
                all += TemporaryFolder::read(entry.path());
        return all;
    }

    TemporaryFolder folder;
    const std::string vault = folder / "data/vault";
    const std::string key = vault + "/vault.key";
};

TEST(VaultKeychain, DoesWhatEveryKeychainDoes)
{
    const TemporaryFolder folder;
    VaultKeychain keychain(optionsFor(folder / "deep/down/vault"));
    EXPECT_FALSE(fs::exists(folder / "deep")); // reads make nothing
    tests::expectConformance(keychain);
}

TEST_F(VaultKeychainTests, KeepsItsFilesToItsUserAndNamesNothing)
{
    const auto modeOf = [](const std::string& path) {
        struct stat state {};
        EXPECT_EQ(::lstat(path.c_str(), &state), 0) << path;
        return state.st_mode & 0777U;
    };
    EXPECT_EQ(modeOf(vault), 0700U);
    EXPECT_EQ(modeOf(key), 0600U);
    EXPECT_EQ(modeOf(vault + "/vault.sqlite"), 0600U);
    EXPECT_EQ(fs::file_size(key), 32U);
    const auto keychain = open(); // keeps the log there
    ASSERT_EQ(keychain->add(keychainItem("distinctive", "also-distinctive"), bytesOf("most-distinctive")),
              errSecSuccess);
    EXPECT_EQ(content().find("istinctive"), std::string::npos);
    EXPECT_EQ(content().find("secret of"), std::string::npos);
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(vault))
        files += entry.path().filename().string().find(".new-") == std::string::npos ? 1U : 100U;
    EXPECT_LE(files, 4U); // the key, the database, its log and the log's index: nothing half made
}

// Each is refused by its own status, before anything is read or written.
TEST_F(VaultKeychainTests, RefusesAKeyThatIsNotItsOwnAlone)
{
    const fs::path kept = folder.path() / "kept.key";
    const auto replaceKey = [this](std::string_view bytes) {
        fs::remove(key);
        folder.write("data/vault/vault.key", bytes);
        ::chmod(key.c_str(), 0600);
    };
    struct Row {
        const char* what;
        OSStatus status;
        std::function<void()> spoil;
    };
    std::vector<Row> rows{
        {"readable by the group", errSecVaultKeyExposed, [&] { ::chmod(key.c_str(), 0640); }},
        {"writable by others", errSecVaultKeyExposed, [&] { ::chmod(key.c_str(), 0602); }},
        {"a link to the key", errSecVaultKeyNotAFile,
         [&] {
             fs::remove(key);
             fs::create_symlink(kept, key);
         }},
        {"a folder", errSecVaultKeyNotAFile,
         [&] {
             fs::remove(key);
             fs::create_directory(key);
         }},
        {"a pipe", errSecVaultKeyNotAFile,
         [&] {
             fs::remove(key);
             ASSERT_EQ(::mkfifo(key.c_str(), 0600), 0);
         }},
        {"missing", errSecVaultKeyMissing, [&] { fs::remove(key); }},
        {"cut off", errSecVaultKeyDamaged, [&] { fs::resize_file(key, 31); }},
        {"too long", errSecVaultKeyDamaged, [&] { fs::resize_file(key, 33); }},
        {"another key", errSecVaultKeyWrong, [&] { replaceKey(std::string(32, 'k')); }},
        {"an open folder", errSecVaultFolderUnsafe, [&] { ::chmod(vault.c_str(), 0755); }},
        {"a folder behind a link", errSecVaultFolderUnsafe, [&] {
             fs::rename(vault, folder / "elsewhere");
             fs::create_directory_symlink(folder / "elsewhere", vault);
         }}};
    if (::geteuid() == 0)
        rows.push_back({"somebody else's", errSecVaultKeyForeign,
                        [&] { ASSERT_EQ(::chown(key.c_str(), 65534, 65534), 0); }});
    fs::copy_file(key, kept);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        row.spoil();
        const std::string before = content();
        EXPECT_EQ(secretIn(*open(), "mail", "a"), "[" + std::to_string(row.status) + "]");
        EXPECT_EQ(open()->add(keychainItem("mail", "new"), bytesOf("x")), row.status);
        EXPECT_EQ(open()->remove(keychainFilter("mail", "a")), row.status);
        EXPECT_EQ(open()->use("mail").status, row.status);
        EXPECT_TRUE(content() == before);
        // As it was, all is there again.
        if (fs::is_symlink(vault)) {
            fs::remove(vault);
            fs::rename(folder / "elsewhere", vault);
        }
        ::chmod(vault.c_str(), 0700);
        fs::remove(key);
        fs::copy_file(kept, key);
        ::chmod(key.c_str(), 0600);
        EXPECT_EQ(secretIn(*open(), "mail", "a"), "secret of a");
    }
}

constexpr const char* firstRow = "(pair, place) IN (SELECT pair, place FROM items LIMIT 1)";
// The first two rows, their boxes and what else is said exchanged.
std::string swapping(const std::string& columns)
{
    std::string sql =
        "CREATE TABLE t AS SELECT row_number() OVER (ORDER BY pair) AS n, * FROM items LIMIT 2;";
    for (const std::string_view column : {"mark", "box"})
        if (columns.find(column) != std::string::npos)
            sql += "UPDATE items SET " + std::string(column) + " = (SELECT o." + std::string(column) +
                   " FROM t JOIN t o ON o.n = 3 - t.n WHERE t.place = items.place) "
                   "WHERE place IN (SELECT place FROM t);";
    return sql + "DROP TABLE t;";
}

TEST_F(VaultKeychainTests, RefusesWhatSomebodyElseWrote)
{
    const auto flipped = [](std::string_view column, int at) {
        const std::string name(column), place = std::to_string(at);
        return "UPDATE items SET " + name + " = CAST(substr(" + name + ", 1, " + place + " - 1) || x'" +
               "00" + "' || substr(" + name + ", " + place + " + 1) AS BLOB) WHERE " + firstRow;
    };
    struct Row {
        const char* what;
        OSStatus status;
        std::string sql;
        int readable; ///< of the three items
    };
    const Row rows[] = {
        {"the nonce of a box", errSecVaultItemDamaged, flipped("box", 3), 2},
        {"the text of a box", errSecVaultItemDamaged, flipped("box", 60), 2},
        {"the end of a box", errSecVaultItemDamaged,
         std::string("UPDATE items SET box = substr(box, 1, length(box) - 1) WHERE ") + firstRow, 2},
        {"an empty box", errSecVaultItemDamaged, std::string("UPDATE items SET box = x'' WHERE ") + firstRow,
         2},
        {"a mark", errSecVaultItemDamaged, flipped("mark", 5), 2},
        {"where it belongs", errSecVaultItemDamaged, flipped("pair", 5), 2},
        {"boxes swapped", errSecVaultItemsSwapped, swapping("box"), 1},
        {"boxes and marks swapped", errSecVaultItemsSwapped, swapping("box mark"), 1},
        {"an item removed", errSecVaultItemsOutdated, std::string("DELETE FROM items WHERE ") + firstRow, 0},
        {"all items removed", errSecVaultItemsOutdated, "DELETE FROM items", 0},
        {"the state", errSecVaultDamaged, "UPDATE vault SET state = x'00'", 0},
        {"no state", errSecVaultDamaged, "DELETE FROM vault", 0},
        {"a later format", errSecVaultDamaged, "UPDATE vault SET format = 2", 0},
        {"no table", errSecVaultDamaged, "DROP TABLE items", 0}};
    const std::string file = vault + "/vault.sqlite";
    fs::copy_file(file, folder / "kept");
    for (const Row& row : rows)
        // By one who opens it afterwards, and by one who had it open.
        for (const bool isOpenBefore : {false, true}) {
            SCOPED_TRACE(std::string(row.what) + (isOpenBefore ? ", while it is open" : ""));
            auto keychain = open();
            if (isOpenBefore) {
                ASSERT_EQ(secretIn(*keychain, "mail", "a"), "secret of a");
            }
            execute(row.sql);
            const std::string before = storedRows();
            int readable = 0;
            for (const std::string account : {"a", "b", "c"}) {
                const std::string read = secretIn(*keychain, "mail", account);
                readable += read == "secret of " + account ? 1 : 0;
                EXPECT_TRUE(read == "secret of " + account || read == "[" + std::to_string(row.status) + "]")
                    << read;
            }
            EXPECT_EQ(readable, row.readable);
            EXPECT_EQ(secretIn(*keychain, "mail", "missing"), "[" + std::to_string(row.status) + "]");
            EXPECT_EQ(secretIn(*keychain, {}), "[" + std::to_string(row.status) + "]");
            EXPECT_EQ(keychain->add(keychainItem("mail", "d"), {}), row.status);
            EXPECT_EQ(keychain->remove(keychainFilter("mail", "a")), row.status);
            EXPECT_EQ(keychain->use("mail").status, row.status);
            keychain.reset();
            EXPECT_TRUE(storedRows() == before);
            for (const char* suffix : {"", "-wal", "-shm"})
                fs::remove(file + suffix);
            fs::copy_file(folder / "kept", file);
        }
}

TEST_F(VaultKeychainTests, RefusesAnOlderVersionOfOneItem)
{
    execute("CREATE TABLE old AS SELECT * FROM items");
    KeychainChanges changes;
    const Data fresh = bytesOf("a new secret");
    changes.secret = fresh;
    ASSERT_EQ(open()->update(keychainFilter("mail", "a"), changes), errSecSuccess);
    ASSERT_EQ(open()->remove(keychainFilter("mail", "b")), errSecSuccess);
    fs::copy_file(vault + "/vault.sqlite", folder / "kept");
    struct Row {
        const char* what;
        const char* sql;
        OSStatus status;
    };
    const Row rows[] = {
        {"the box and its mark",
         "REPLACE INTO items SELECT * FROM old WHERE pair IN (SELECT pair FROM items)",
         errSecVaultItemsOutdated},
        {"the box alone", "UPDATE items SET box = (SELECT box FROM old WHERE old.place = items.place)",
         errSecVaultItemDamaged},
        {"a removed item", "INSERT INTO items SELECT * FROM old WHERE pair NOT IN (SELECT pair FROM items)",
         errSecVaultItemsOutdated}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        execute(row.sql);
        EXPECT_EQ(open()->use("mail").status, row.status);
        EXPECT_NE(secretIn(*open(), "mail", "a"), "secret of a");
        EXPECT_NE(secretIn(*open(), "mail", "b"), "secret of b");
        for (const char* suffix : {"", "-wal", "-shm"})
            fs::remove(vault + "/vault.sqlite" + suffix);
        fs::copy_file(folder / "kept", vault + "/vault.sqlite");
    }
    EXPECT_EQ(secretIn(*open(), "mail", "a"), "a new secret"); // untouched, all is well
}

TEST_F(VaultKeychainTests, RefusesADamagedFileAndALogWithoutItsDatabase)
{
    const std::string file = vault + "/vault.sqlite";
    const std::string whole = TemporaryFolder::read(file);
    for (const std::string& bytes :
         {std::string(), std::string(5000, 'x'), whole.substr(0, whole.size() / 2)}) {
        SCOPED_TRACE(bytes.size());
        folder.write("data/vault/vault.sqlite", bytes);
        EXPECT_EQ(secretIn(*open(), "mail", "a"), "[" + std::to_string(errSecVaultDamaged) + "]");
        EXPECT_EQ(open()->add(keychainItem("mail", "d"), {}), errSecVaultDamaged);
        EXPECT_TRUE(TemporaryFolder::read(file) == bytes);
    }
    fs::rename(file, folder / "away");
    folder.write("data/vault/vault.sqlite-wal", "log");
    EXPECT_EQ(open()->add(keychainItem("mail", "d"), {}), errSecVaultDamaged);
    EXPECT_FALSE(fs::exists(file));
    // With neither, the vault begins anew under the key that is there.
    fs::remove(file + "-wal");
    EXPECT_EQ(secretIn(*open(), "mail", "a"), "[" + std::to_string(errSecItemNotFound) + "]");
    EXPECT_EQ(open()->add(keychainItem("mail", "a"), bytesOf("again")), errSecSuccess);
    EXPECT_EQ(secretIn(*open(), "mail", "a"), "again");
}

TEST_F(VaultKeychainTests, NoticesWhenItsFilesAreReplacedByAnother)
{
    const auto keychain = open();
    ASSERT_EQ(secretIn(*keychain, "mail", "a"), "secret of a");
    fs::remove_all(vault);
    EXPECT_EQ(secretIn(*keychain, "mail", "a"), "[" + std::to_string(errSecItemNotFound) + "]");
    EXPECT_EQ(open()->add(keychainItem("mail", "a"), bytesOf("another")), errSecSuccess);
    EXPECT_EQ(secretIn(*keychain, "mail", "a"), "another");
}

TEST_F(VaultKeychainTests, IsSharedByManyWritersFromItsFirstMoment)
{
    fs::remove_all(vault);
    const auto oneForTwo = open();
    const auto another = open();
    std::vector<std::thread> threads;
    for (const int writer : {0, 1, 2, 3})
        threads.emplace_back([&, writer] {
            VaultKeychain& keychain = writer < 2 ? *oneForTwo : *another;
            for (int i = 0; i < 25; ++i) {
                const std::string account = std::to_string(writer) + "-" + std::to_string(i);
                EXPECT_EQ(keychain.add(keychainItem("mail", account), bytesOf(account)), errSecSuccess);
                EXPECT_EQ(secretIn(keychain, "mail", account), account);
            }
            EXPECT_EQ(keychain.remove(keychainFilter("mail", std::to_string(writer) + "-0")), errSecSuccess);
        });
    for (std::thread& thread : threads)
        thread.join();
    for (VaultKeychain* keychain : {oneForTwo.get(), another.get()}) {
        EXPECT_EQ(tests::countIn(*keychain, {}), 96U);
        EXPECT_EQ(secretIn(*keychain, "mail", "3-24"), "3-24");
    }
}

TEST_F(VaultKeychainTests, GivesUpAfterItsWait)
{
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open((vault + "/vault.sqlite").c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    KeychainOptions options = optionsFor(vault);
    options.wait = std::chrono::milliseconds(50);
    VaultKeychain keychain(options);
    EXPECT_EQ(keychain.add(keychainItem("mail", "d"), {}), errSecTimedOut);
    EXPECT_EQ(secretIn(keychain, "mail", "a"), "secret of a"); // reading needs no lock
    sqlite3_close(database);
    EXPECT_EQ(keychain.add(keychainItem("mail", "d"), {}), errSecSuccess);
}

} // namespace
} // namespace corvane
