// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Storage/Database.h>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <utility>

namespace corvane {

namespace {

using Clock = std::chrono::steady_clock;

DatabaseStatus statusOf(int code)
{
    if (code == SQLITE_IOERR_SHMSIZE)
        return DatabaseStatus::full;
    switch (code & 0xff) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return DatabaseStatus::ok;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return DatabaseStatus::busy;
    case SQLITE_FULL:
        return DatabaseStatus::full;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_FORMAT:
        return DatabaseStatus::damaged;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return DatabaseStatus::cannotOpen;
    case SQLITE_READONLY:
        return DatabaseStatus::readOnly;
    case SQLITE_ERROR:
        return DatabaseStatus::invalid;
    default:
        return DatabaseStatus::failed;
    }
}

} // namespace

struct Database::Connection {
    sqlite3* handle = nullptr;
    std::chrono::milliseconds patience{0};
    Clock::time_point giveUp;
    Statement dataVersion; // asked for often

    // Short waits: a write takes microseconds, and the long steps of the built-in handler starve whoever is late.
    static int waitWhileBusy(void* self, int count) noexcept
    {
        auto& connection = *static_cast<Connection*>(self);
        const Clock::time_point now = Clock::now();
        if (count == 0)
            connection.giveUp = now + connection.patience;
        if (now >= connection.giveUp)
            return 0;
        std::this_thread::sleep_for(std::chrono::microseconds(std::min(100 + 100 * count, 5000)));
        return 1;
    }
};

void Database::Close::operator()(Connection* connection) const noexcept
{
    connection->dataVersion = {};
    sqlite3_close_v2(connection->handle);
    delete connection;
}

Database::Database(std::unique_ptr<Connection, Close> connection) noexcept
    : connection_(std::move(connection))
{}

std::optional<Database> Database::open(const std::string& path, Mode mode, std::chrono::milliseconds patience,
                                       DatabaseStatus& status)
{
    std::unique_ptr<Connection, Close> connection(new Connection{nullptr, patience, {}, {}});
    int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    std::string name = path;
    switch (mode) {
    case Mode::create:
        flags |= SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
        break;
    case Mode::readWrite:
        flags |= SQLITE_OPEN_READWRITE;
        break;
    case Mode::readOnly:
        flags |= SQLITE_OPEN_READONLY;
        break;
    case Mode::immutable:
        flags |= SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
        name = URL::fromPath(path).absoluteString() + "?immutable=1";
        break;
    }
    status = statusOf(sqlite3_open_v2(name.c_str(), &connection->handle, flags, nullptr));
    if (status != DatabaseStatus::ok)
        return std::nullopt;
    sqlite3_busy_handler(connection->handle, Connection::waitWhileBusy, connection.get());
    return Database(std::move(connection));
}

Statement Database::prepare(std::string_view sql) const
{
    sqlite3_stmt* statement = nullptr;
    const int code = sqlite3_prepare_v3(connection_->handle, sql.data(), static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return Statement(statement, statusOf(code));
}

DatabaseStatus Database::execute(const char* sql) const
{
    return statusOf(sqlite3_exec(connection_->handle, sql, nullptr, nullptr, nullptr));
}

DatabaseStatus Database::useWriteAheadLog() const
{
    const Clock::time_point giveUp = Clock::now() + connection_->patience;
    for (int count = 0;; ++count) {
        Statement change = prepare("PRAGMA journal_mode=WAL");
        if (change.step()) {
            const bool changed = change.textAt(0) == "wal";
            while (change.step()) {
            }
            if (change.status() == DatabaseStatus::ok)
                return changed ? DatabaseStatus::ok : DatabaseStatus::readOnly;
        }
        if (change.status() != DatabaseStatus::busy || Clock::now() >= giveUp)
            return change.status();
        Connection::waitWhileBusy(connection_.get(), count);
    }
}

bool Database::isReadOnly() const
{
    return sqlite3_db_readonly(connection_->handle, "main") == 1;
}

Int Database::dataVersion() const
{
    Statement& version = connection_->dataVersion;
    if (!version.statement_)
        version = prepare("PRAGMA data_version");
    version.bind();
    const Int result = version.step() ? version.intAt(0) : 0;
    version.reset();
    return result;
}

std::string Database::message() const
{
    return sqlite3_errmsg(connection_->handle);
}

int Database::extendedCode() const
{
    return sqlite3_extended_errcode(connection_->handle);
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const noexcept
{
    sqlite3_finalize(statement);
}

bool Statement::step()
{
    if (!statement_)
        return false;
    const int code = sqlite3_step(statement_.get());
    status_ = statusOf(code);
    if (code == SQLITE_ROW)
        return true;
    sqlite3_reset(statement_.get());
    return false;
}

void Statement::reset() noexcept
{
    sqlite3_reset(statement_.get());
}

void Statement::bindOne(int index, Int value)
{
    sqlite3_bind_int64(statement_.get(), index, value);
}

// A null pointer would bind NULL, so what is empty points somewhere.
void Statement::bindOne(int index, std::string_view value)
{
    sqlite3_bind_text64(statement_.get(), index, value.empty() ? "" : value.data(), value.size(),
                        SQLITE_STATIC, SQLITE_UTF8);
}

void Statement::bindOne(int index, DataView value)
{
    sqlite3_bind_blob64(statement_.get(), index, value.empty() ? static_cast<const void*>("") : value.data(),
                        value.size(), SQLITE_STATIC);
}

void Statement::bindOne(int index, std::nullptr_t)
{
    sqlite3_bind_null(statement_.get(), index);
}

Int Statement::intAt(int column) const
{
    return sqlite3_column_int64(statement_.get(), column);
}

std::string_view Statement::textAt(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
    return text == nullptr
               ? std::string_view()
               : std::string_view(text,
                                  static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column)));
}

DataView Statement::dataAt(int column) const
{
    const auto* data = static_cast<const std::byte*>(sqlite3_column_blob(statement_.get(), column));
    return {data,
            data == nullptr ? 0 : static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::optional<FileNumber> FileNumber::of(const std::string& path)
{
    struct stat state {};
    if (::stat(path.c_str(), &state) != 0)
        return std::nullopt;
    return FileNumber{state.st_dev, state.st_ino};
}

std::optional<std::string> setDatabaseAside(const std::string& path, const FileNumber& damaged,
                                            std::error_code& error)
{
    error.clear();
    const auto failed = [&error] {
        error = {errno, std::system_category()};
        return std::nullopt;
    };
    const std::string folderPath = std::filesystem::path(path).parent_path().string();
    struct Folder {
        int descriptor;
        ~Folder() { ::close(descriptor); }
    } const folder{::open(folderPath.empty() ? "." : folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (folder.descriptor < 0 || ::flock(folder.descriptor, LOCK_EX) != 0)
        return failed();
    if (FileNumber::of(path) != damaged)
        return std::nullopt;
    for (int number = 1; number < 1000; ++number) {
        const std::string aside = path + ".damaged-" + std::to_string(number);
        if (::access(aside.c_str(), F_OK) == 0)
            continue;
        // The log goes first: whoever found it beside a new file would take it for that one's.
        for (const char* suffix : {"-wal", "-shm", ""})
            if (::rename((path + suffix).c_str(), (aside + suffix).c_str()) != 0 &&
                (errno != ENOENT || *suffix == '\0'))
                return failed();
        return aside;
    }
    errno = EEXIST;
    return failed();
}

} // namespace corvane
