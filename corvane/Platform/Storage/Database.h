// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

#include <sys/types.h>

#include <chrono>
#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

struct sqlite3;
struct sqlite3_stmt;

namespace corvane {

/// How an operation on a database ended, as far as it makes a difference to what is done next.
enum class DatabaseStatus {
    ok,
    busy,       ///< another connection held its lock for longer than the patience of this one
    full,       ///< no space left, on the disk or within a limit
    damaged,    ///< no database, or one whose pages contradict each other
    cannotOpen, ///< missing, a folder, or not to be read by this process
    readOnly,   ///< may be read but not written
    invalid,    ///< the statement does not fit the database
    failed      ///< anything else: `Database::message` has it
};

/// One compiled statement of a `Database`, which has to outlive it. Thread-compatible.
///
///     Statement find = database.prepare("SELECT value FROM items WHERE name = ?1");
///     find.bind("colour");
///     while (find.step())
///         use(find.dataAt(0));
///     if (find.status() != DatabaseStatus::ok) …
///
/// Text and bytes are bound by reference: they have to stay until the last step.
class Statement {
public:
    Statement() = default;

    /// Rewinds and binds the values to ?1, ?2 and so on: whole numbers, text, bytes, `nullptr`.
    template <typename... Values>
    void bind(const Values&... values)
    {
        reset();
        int index = 0;
        (bindOne(++index, values), ...);
    }

    /// To the next row; false at the end and on failure, rewound then.
    bool step();
    /// Binds and steps to the end.
    template <typename... Values>
    DatabaseStatus run(const Values&... values)
    {
        bind(values...);
        while (step()) {
        }
        return status_;
    }
    /// Of the last step.
    DatabaseStatus status() const noexcept { return status_; }
    /// Ends reading before the last row: until then the database is kept from other connections' changes.
    void reset() noexcept;

    // Columns of the row, from 0. Text and bytes stay until the next step.
    Int intAt(int column) const;
    std::string_view textAt(int column) const;
    DataView dataAt(int column) const;

private:
    friend class Database;
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };
    explicit Statement(sqlite3_stmt* statement, DatabaseStatus status) noexcept
        : statement_(statement), status_(status)
    {}

    void bindOne(int index, Int value);
    void bindOne(int index, std::string_view value);
    void bindOne(int index, DataView value);
    void bindOne(int index, std::nullptr_t);
    template <std::integral T>
    void bindOne(int index, T value)
    {
        bindOne(index, static_cast<Int>(value));
    }

    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
    DatabaseStatus status_ = DatabaseStatus::failed;
};

/// A connection to an SQLite database in a file. Movable; thread-compatible, and not to be used across fork.
class Database {
public:
    enum class Mode {
        readWrite, ///< the file has to exist
        create,    ///< made when it is missing
        readOnly,
        immutable ///< read without locks and without a log: for a file that nobody writes, on a full disk too
    };

    /// Waits up to `patience` for other connections' locks, now and in every later call. Absent with `status`
    /// set when there is no such database; a file that holds no database is seen only when it is first used.
    static std::optional<Database> open(const std::string& path, Mode mode,
                                        std::chrono::milliseconds patience, DatabaseStatus& status);

    /// A statement that fails to compile answers every step with the reason.
    Statement prepare(std::string_view sql) const;
    /// Any number of statements whose rows are of no interest.
    DatabaseStatus execute(const char* sql) const;

    /// Switches to write-ahead logging. Waits for other connections itself, which the database does not do for
    /// this one change. `readOnly` when it stays what it was: the file may not be written, or its file system
    /// does not carry such a log.
    DatabaseStatus useWriteAheadLog() const;
    bool isReadOnly() const;
    /// Grows when another connection has committed.
    Int dataVersion() const;
    /// Of the last failure, for a person to read.
    std::string message() const;
    int extendedCode() const;

private:
    struct Connection;
    struct Close {
        void operator()(Connection* connection) const noexcept;
    };
    explicit Database(std::unique_ptr<Connection, Close> connection) noexcept;

    std::unique_ptr<Connection, Close> connection_;
};

/// BEGIN IMMEDIATE now; a rollback at the end of the scope unless it was committed.
class DatabaseTransaction {
public:
    explicit DatabaseTransaction(const Database& database)
        : database_(database),
          status_(database.execute("BEGIN IMMEDIATE")),
          isOpen_(status_ == DatabaseStatus::ok)
    {}
    DatabaseTransaction(const DatabaseTransaction&) = delete;
    DatabaseTransaction& operator=(const DatabaseTransaction&) = delete;
    ~DatabaseTransaction()
    {
        if (isOpen_)
            database_.execute("ROLLBACK");
    }

    /// Whether it could begin; after `commit`, whether that succeeded.
    DatabaseStatus status() const noexcept { return status_; }
    DatabaseStatus commit()
    {
        status_ = database_.execute("COMMIT");
        isOpen_ = status_ != DatabaseStatus::ok;
        return status_;
    }

private:
    const Database& database_;
    DatabaseStatus status_;
    bool isOpen_;
};

/// Which file a path leads to at the moment.
struct FileNumber {
    dev_t device;
    ino_t number;

    static std::optional<FileNumber> of(const std::string& path);
    friend bool operator==(const FileNumber&, const FileNumber&) = default;
};

/// Renames `damaged`, which stood at `path`, to "<path>.damaged-1" or the next free number, and its log and
/// index with it. Nothing happens, and the answer is empty with no error, when another file stands there by
/// now: somebody else has done it. Of several processes that see the same damage one acts.
std::optional<std::string> setDatabaseAside(const std::string& path, const FileNumber& damaged,
                                            std::error_code& error);

} // namespace corvane
