// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/DefaultsFile.h>
#include <corvane/Platform/Storage/PrivateFolder.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace corvane {

namespace {

constexpr std::chrono::seconds patience(5);
constexpr Int applicationID = 0x436f7276;
constexpr const char* schema = "PRAGMA application_id=0x436f7276;"
                               "CREATE TABLE settings (key TEXT PRIMARY KEY, value BLOB NOT NULL,"
                               " checksum INTEGER NOT NULL) STRICT, WITHOUT ROWID;"
                               // What damage has taken out of the tree is missed by its number.
                               "CREATE TABLE total (count INTEGER NOT NULL) STRICT;"
                               "INSERT INTO total VALUES (0);"
                               "CREATE TRIGGER added AFTER INSERT ON settings BEGIN"
                               " UPDATE total SET count = count + 1; END;"
                               "CREATE TRIGGER erased AFTER DELETE ON settings BEGIN"
                               " UPDATE total SET count = count - 1; END;";

std::string errorText(int error)
{
    return std::system_category().message(error);
}

// Some file systems have no room in memory for the log's index: there it stays at the older journal.
DatabaseStatus useLog(const Database& database)
{
    const DatabaseStatus status = database.useWriteAheadLog();
    return status == DatabaseStatus::readOnly ? DatabaseStatus::ok : status;
}

} // namespace

Int defaultsChecksum(std::string_view key, DataView archive) noexcept
{
    // Every step can be undone, so of two entries that differ within 8 bytes alone the checksums differ.
    std::uint64_t hash = 0x9e3779b97f4a7c15;
    const auto fold = [&hash](std::uint64_t word) {
        hash = (hash ^ word) * 0xff51afd7ed558ccd;
        hash ^= hash >> 32U;
    };
    const auto foldAll = [&fold](const void* bytes, std::size_t size) {
        fold(size);
        const auto* at = static_cast<const unsigned char*>(bytes);
        std::uint64_t word = 0;
        for (; size >= sizeof word; size -= sizeof word, at += sizeof word) {
            std::memcpy(&word, at, sizeof word);
            fold(word);
        }
        word = 0;
        for (; size > 0; --size)
            word = word << 8U | at[size - 1];
        fold(word);
    };
    foldAll(key.data(), key.size());
    foldAll(archive.data(), archive.size());
    return static_cast<Int>(hash);
}

DatabaseStatus DefaultsFile::failed(DatabaseStatus status, std::string message)
{
    message_ = path_ + ": " + std::move(message);
    return status;
}

DatabaseStatus DefaultsFile::noted(DatabaseStatus status)
{
    return status == DatabaseStatus::ok ? status : failed(status, database_->message());
}

void DefaultsFile::close() noexcept
{
    transaction_.reset();
    read_ = {};
    count_ = {};
    put_ = {};
    erase_ = {};
    database_.reset();
    writability_ = DatabaseStatus::ok;
}

// The file appears under its name with everything in it: nobody, after a kill at any moment, finds half of one.
bool DefaultsFile::create()
{
    if (!makeFolders(std::filesystem::path(path_).parent_path()))
        return failed(DatabaseStatus::cannotOpen, errorText(errno)), false;
    std::string fresh = path_ + ".new-XXXXXX";
    const int file = ::mkostemp(fresh.data(), O_CLOEXEC);
    if (file < 0)
        return failed(DatabaseStatus::cannotOpen, errorText(errno)), false;
    ::close(file);
    DatabaseStatus status = DatabaseStatus::failed;
    {
        const auto database = Database::open(fresh, Database::Mode::readWrite, patience, status);
        if (database) {
            status = useLog(*database);
            if (status == DatabaseStatus::ok)
                status = database->execute(schema);
            if (status != DatabaseStatus::ok)
                failed(status, database->message());
        }
    }
    bool linked = false;
    if (status == DatabaseStatus::ok) {
        linked = ::link(fresh.c_str(), path_.c_str()) == 0 || errno == EEXIST; // by another process, as good
        if (!linked)
            failed(DatabaseStatus::cannotOpen, errorText(errno));
    }
    for (const char* suffix : {"", "-wal", "-shm"})
        ::unlink((fresh + suffix).c_str());
    return linked;
}

DatabaseStatus DefaultsFile::connect(Database::Mode mode)
{
    DatabaseStatus status = DatabaseStatus::failed;
    database_ = Database::open(path_, mode, patience, status);
    if (!database_)
        return failed(status, "cannot be opened");
    // The first statement is the first to look into the file.
    status = database_->execute(
        "PRAGMA synchronous=NORMAL; PRAGMA cell_size_check=ON; SELECT count(*) FROM sqlite_schema");
    if (status != DatabaseStatus::ok)
        return noted(status);
    Statement made = database_->prepare("PRAGMA application_id");
    if (!made.step() || made.intAt(0) != applicationID)
        return failed(DatabaseStatus::damaged, "not a settings file");
    if (database_->isReadOnly())
        writability_ = failed(DatabaseStatus::readOnly, "may not be written");
    else
        status = useLog(*database_);
    if (status == DatabaseStatus::damaged)
        return noted(status);
    dataVersion_ = database_->dataVersion();
    read_ = database_->prepare("SELECT key, value, checksum FROM settings ORDER BY key");
    count_ = database_->prepare("SELECT count FROM total");
    put_ =
        database_->prepare("INSERT INTO settings VALUES (?1, ?2, ?3)"
                           " ON CONFLICT DO UPDATE SET value = excluded.value, checksum = excluded.checksum");
    erase_ = database_->prepare("DELETE FROM settings WHERE key = ?1");
    for (const Statement* statement : {&read_, &count_, &put_, &erase_})
        if (status == DatabaseStatus::ok)
            status = statement->status();
    return status == DatabaseStatus::invalid
               ? failed(DatabaseStatus::damaged, "not the tables of a settings file")
               : noted(status);
}

DatabaseStatus DefaultsFile::open()
{
    close();
    struct stat known {};
    for (int attempt = 0; ::stat(path_.c_str(), &known) != 0; ++attempt) {
        if (errno != ENOENT || attempt == 8) // a link that leads nowhere stays so
            return failed(DatabaseStatus::cannotOpen, errorText(errno));
        if (!create())
            return DatabaseStatus::cannotOpen;
    }
    opened_ = FileNumber{known.st_dev, known.st_ino};
    if (!S_ISREG(known.st_mode))
        return failed(DatabaseStatus::damaged, "not a file");
    if (::faccessat(AT_FDCWD, path_.c_str(), R_OK, AT_EACCESS) != 0 && errno == EACCES)
        return failed(DatabaseStatus::damaged, errorText(EACCES));
    DatabaseStatus status = connect(Database::Mode::readWrite);
    if (status == DatabaseStatus::ok || status == DatabaseStatus::damaged)
        return status;
    // Without room or permission for the log's index no connection can be made, but a file that was closed in
    // order has no log, and can be read as it stands.
    struct stat log {};
    if (status != DatabaseStatus::busy && (::stat((path_ + "-wal").c_str(), &log) != 0 || log.st_size == 0)) {
        std::string reason = message_;
        close();
        if (connect(Database::Mode::immutable) == DatabaseStatus::ok) {
            message_ = std::move(reason);
            writability_ = status;
            return DatabaseStatus::ok;
        }
        message_ = std::move(reason);
    }
    close();
    return status;
}

bool DefaultsFile::isCurrent() const
{
    return isOpen() && FileNumber::of(path_) == opened_;
}

bool DefaultsFile::hasChanged()
{
    const Int version = database_->dataVersion();
    return std::exchange(dataVersion_, version) != version;
}

DatabaseStatus DefaultsFile::read(const std::function<void(const DefaultsEntry&)>& use)
{
    // Both out of one state of the file: it is kept from the first step of the one to the end of the other.
    count_.bind();
    if (!count_.step())
        return count_.status() == DatabaseStatus::ok ? failed(DatabaseStatus::damaged, "its total is missing")
                                                     : noted(count_.status());
    Int missing = count_.intAt(0);
    std::string previous;
    const auto contradicts = [&](const char* what) {
        read_.reset();
        count_.reset();
        return failed(DatabaseStatus::damaged, what);
    };
    read_.bind();
    while (read_.step()) {
        const DefaultsEntry entry{read_.textAt(0), read_.dataAt(1), read_.intAt(2), missing};
        if (defaultsChecksum(entry.key, entry.archive) != entry.checksum)
            return contradicts("an entry contradicts its checksum");
        if (entry.key <= previous && !(entry.key.empty() && previous.empty()))
            return contradicts("its entries are out of order");
        use(entry);
        previous = entry.key;
        --missing;
    }
    count_.reset();
    if (read_.status() == DatabaseStatus::ok && missing != 0)
        return contradicts("entries are missing");
    return noted(read_.status());
}

DatabaseStatus DefaultsFile::begin()
{
    transaction_.emplace(*database_);
    const DatabaseStatus status = noted(transaction_->status());
    if (status != DatabaseStatus::ok)
        transaction_.reset();
    return status;
}

DatabaseStatus DefaultsFile::commit()
{
    const DatabaseStatus status = noted(transaction_->commit());
    transaction_.reset();
    return status;
}

DatabaseStatus DefaultsFile::synchronize()
{
    // A checkpoint syncs the log before it copies from it, and the file afterwards.
    Statement checkpoint = database_->prepare("PRAGMA wal_checkpoint(TRUNCATE)");
    if (!checkpoint.step())
        return noted(checkpoint.status());
    if (checkpoint.intAt(0) != 0)
        return failed(DatabaseStatus::busy, "database is locked");
    return DatabaseStatus::ok;
}

bool DefaultsFile::setAside(std::optional<std::string>& newPath)
{
    close();
    std::error_code error;
    if (opened_)
        newPath = setDatabaseAside(path_, *opened_, error);
    if (error)
        message_ += "; and it cannot be set aside: " + error.message();
    return !error;
}

} // namespace corvane
