// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Random.h>
#include <corvane/Platform/Storage/VaultFile.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace corvane {

namespace {

constexpr const char* keyName = "vault.key";
constexpr const char* databaseName = "vault.sqlite";
constexpr Int format = 1;

OSStatus statusOf(DatabaseStatus status)
{
    switch (status) {
    case DatabaseStatus::ok:
        return errSecSuccess;
    case DatabaseStatus::busy:
        return errSecTimedOut;
    case DatabaseStatus::full:
        return errSecDiskFull;
    case DatabaseStatus::damaged:
    case DatabaseStatus::invalid: // without our tables
        return errSecVaultDamaged;
    default:
        return errSecIO;
    }
}

OSStatus failedWrite()
{
    return errno == ENOSPC || errno == EDQUOT ? errSecDiskFull : errSecIO;
}

bool readHash(DataView bytes, VaultHash& hash)
{
    if (bytes.size() != hash.size())
        return false;
    std::copy(bytes.begin(), bytes.end(), hash.begin());
    return true;
}

// Columns 0 to 2 of a row; the box in column 3 is read in place.
bool readRow(const Statement& row, VaultPlace& place, VaultHash& mark)
{
    return readHash(row.dataAt(0), place.pair) && readHash(row.dataAt(1), place.place) &&
           readHash(row.dataAt(2), mark);
}

} // namespace

VaultFile::VaultFile(std::optional<std::string> path, std::chrono::milliseconds wait)
    : path_(std::move(path)), wait_(wait)
{}

std::optional<VaultFile::Inode> VaultFile::inodeAtPath() const
{
    struct stat file {};
    if (!path_ || ::stat((*path_ + "/" + databaseName).c_str(), &file) != 0)
        return std::nullopt;
    return Inode(file.st_dev, file.st_ino);
}

OSStatus VaultFile::readKey(const PrivateFolder& folder, bool isNew)
{
    using State = PrivateFolder::FileState;
    SecretBytes key;
    State state = folder.read(keyName, VaultCipher::keySize + 1, key);
    if (state == State::missing && isNew) {
        key = VaultCipher::makeKey();
        const PrivateFolder::Written written = folder.write(keyName, key.view());
        if (written == PrivateFolder::Written::failed)
            return failedWrite();
        // Another process may have been faster; its key is the one.
        state = folder.read(keyName, VaultCipher::keySize + 1, key);
    }
    switch (state) {
    case State::sound:
        break;
    case State::missing:
        return errSecVaultKeyMissing;
    case State::notAFile:
        return errSecVaultKeyNotAFile;
    case State::foreign:
        return errSecVaultKeyForeign;
    case State::exposed:
        return errSecVaultKeyExposed;
    case State::unreadable:
        return errSecIO;
    }
    if (key.view().size() != VaultCipher::keySize)
        return errSecVaultKeyDamaged;
    cipher_ = std::make_unique<VaultCipher>(key.view());
    return errSecSuccess;
}

// Under another name until it is whole: a database that has its name is never an unfinished one.
OSStatus VaultFile::makeDatabase(const PrivateFolder& folder)
{
    const std::string temporary = databaseName + (".new-" + std::to_string(randomUInt32()));
    if (folder.write(temporary, {}) != PrivateFolder::Written::now)
        return failedWrite();
    const auto fill = [&] {
        DatabaseStatus status = DatabaseStatus::ok;
        const auto database =
            Database::open(*path_ + "/" + temporary, Database::Mode::readWrite, wait_, status);
        if (!database)
            return status;
        status = database->execute("BEGIN;"
                                   "CREATE TABLE vault(id INTEGER PRIMARY KEY CHECK(id = 1), format INTEGER, "
                                   "keyCheck BLOB, state BLOB);"
                                   "CREATE TABLE items(pair BLOB, place BLOB, mark BLOB, box BLOB, PRIMARY "
                                   "KEY(pair, place)) WITHOUT ROWID;");
        if (status != DatabaseStatus::ok)
            return status;
        const VaultHash check = cipher_->check();
        const Data state = cipher_->sealState({});
        status = database->prepare("INSERT INTO vault VALUES(1, ?1, ?2, ?3)")
                     .run(format, DataView(check), DataView(state));
        if (status == DatabaseStatus::ok)
            status = database->execute("COMMIT");
        return status == DatabaseStatus::ok ? database->useWriteAheadLog() : status;
    };
    const OSStatus status = statusOf(fill());
    const bool isFailed =
        status != errSecSuccess || folder.link(temporary, databaseName) == PrivateFolder::Written::failed;
    const OSStatus result = status == errSecSuccess && isFailed ? failedWrite() : status;
    for (const char* const suffix : {"", "-journal", "-wal", "-shm"})
        folder.remove(temporary + suffix);
    return result;
}

OSStatus VaultFile::open(Access access, Database::Mode mode)
{
    if (!path_)
        return access == Access::write ? errSecIO : errSecItemNotFound;
    close();
    PrivateFolder folder;
    const auto creation =
        access == Access::write ? PrivateFolder::Creation::allowed : PrivateFolder::Creation::never;
    if (const OSStatus status = PrivateFolder::open(*path_, creation, folder); status != errSecSuccess)
        return status;

    // The database is looked for before the key, which is always made first.
    using State = PrivateFolder::FileState;
    const State found = folder.state(databaseName);
    const bool isNew = found == State::missing;
    if (found == State::notAFile || found == State::foreign)
        return errSecVaultDamaged;
    if (isNew) {
        // A log without its database would be taken for the new one's.
        if (folder.state(std::string(databaseName) + "-wal") != State::missing)
            return errSecVaultDamaged;
        if (access != Access::write)
            return errSecItemNotFound;
    }
    if (const OSStatus status = readKey(folder, isNew); status != errSecSuccess)
        return status;
    if (isNew)
        if (const OSStatus status = makeDatabase(folder); status != errSecSuccess)
            return status;

    const std::string path = *path_ + "/" + databaseName;
    inode_ = inodeAtPath();
    DatabaseStatus status = DatabaseStatus::ok;
    database_ = Database::open(path, mode, wait_, status);
    isImmutable_ = mode == Database::Mode::immutable;
    if (!database_ || !inode_)
        return database_ ? errSecIO : statusOf(status);
    // A write survives the end of the process, not that of the power supply before the next checkpoint.
    status = database_->execute("PRAGMA trusted_schema = OFF; PRAGMA synchronous = NORMAL");
    beginRead_ = database_->prepare("BEGIN");
    beginWrite_ = database_->prepare("BEGIN IMMEDIATE");
    commit_ = database_->prepare("COMMIT");
    rollback_ = database_->prepare("ROLLBACK");
    findPair_ = database_->prepare("SELECT pair, place, mark, box FROM items WHERE pair = ?1");
    findAll_ = database_->prepare("SELECT pair, place, mark, box FROM items");
    insert_ = database_->prepare("INSERT INTO items VALUES(?1, ?2, ?3, ?4)");
    replace_ = database_->prepare("UPDATE items SET mark = ?3, box = ?4 WHERE pair = ?1 AND place = ?2");
    erase_ = database_->prepare("DELETE FROM items WHERE pair = ?1 AND place = ?2");
    setState_ = database_->prepare("UPDATE vault SET state = ?1");
    return statusOf(status == DatabaseStatus::ok ? findAll_.status() : status);
}

void VaultFile::close() noexcept
{
    end();
    for (Statement* const statement : {&beginRead_, &beginWrite_, &commit_, &rollback_, &findPair_, &findAll_,
                                       &insert_, &replace_, &erase_, &setState_})
        *statement = {};
    database_.reset();
    cipher_.reset();
    verifiedVersion_.reset();
    damage_ = errSecSuccess;
}

bool VaultFile::hasLog() const
{
    struct stat file {};
    return ::stat((*path_ + "/" + databaseName + "-wal").c_str(), &file) == 0 && file.st_size > 0;
}

OSStatus VaultFile::begin(Access access)
{
    const OSStatus status = beginOn(access, Database::Mode::readWrite);
    // Even reading makes files, for which a full or read-only disk has no room. Without a log the database says all.
    if (access != Access::read || (status != errSecDiskFull && status != errSecIO) || hasLog())
        return status;
    close();
    return beginOn(access, Database::Mode::immutable);
}

OSStatus VaultFile::beginOn(Access access, Database::Mode mode)
{
    // A database that was removed or replaced meanwhile would go on taking writes that nobody ever sees.
    if (!database_ || inodeAtPath() != inode_)
        if (const OSStatus status = open(access, mode); status != errSecSuccess) {
            close();
            return status;
        }
    const DatabaseStatus began = (access == Access::read ? beginRead_ : beginWrite_).run();
    if (began != DatabaseStatus::ok)
        return statusOf(began);
    isOpen_ = true;
    OSStatus status = errSecSuccess;
    if (const Int version = database_->dataVersion(); verifiedVersion_ != version) {
        verifiedVersion_.reset();
        status = verify();
        if (status == errSecSuccess)
            verifiedVersion_ = version;
        else if (status != errSecTimedOut)
            close(); // to look at all of it afresh the next time, the key included
    }
    if (status == errSecSuccess && access != Access::read)
        status = damage_;
    if (status != errSecSuccess)
        end();
    pending_ = sum_;
    return status;
}

void VaultFile::end() noexcept
{
    if (std::exchange(isOpen_, false))
        rollback_.run();
    if (std::exchange(isImmutable_, false))
        close();
}

OSStatus VaultFile::commit()
{
    const Data state = cipher_->sealState(pending_);
    DatabaseStatus status = setState_.run(DataView(state));
    if (status == DatabaseStatus::ok)
        status = commit_.run();
    if (status == DatabaseStatus::ok) {
        isOpen_ = false;
        sum_ = pending_;
    }
    end();
    return statusOf(status);
}

OSStatus VaultFile::verify()
{
    Statement header = database_->prepare("SELECT format, keyCheck, state FROM vault");
    if (!header.step())
        return header.status() == DatabaseStatus::ok ? errSecVaultDamaged : statusOf(header.status());
    VaultHash check;
    if (header.intAt(0) != format || !readHash(header.dataAt(1), check))
        return errSecVaultDamaged;
    const std::optional<VaultHash> state = cipher_->openState(header.dataAt(2));
    if (!state)
        return check == cipher_->check() ? errSecVaultDamaged : errSecVaultKeyWrong;
    header.reset();
    return checkRows(*state);
}

OSStatus VaultFile::checkRows(const VaultHash& state)
{
    VaultHash noted{}; // the sum of the marks that stand there
    VaultHash true_{}; // and of those that should
    std::vector<VaultPlace> places;
    std::vector<std::pair<VaultPlace, Data>> wrong;
    findAll_.bind();
    while (findAll_.step()) {
        VaultPlace place;
        VaultHash mark;
        if (!readRow(findAll_, place, mark)) {
            findAll_.reset();
            return errSecVaultDamaged;
        }
        const DataView box = findAll_.dataAt(3);
        const VaultHash expected = cipher_->markOf(place, box);
        noted ^= mark;
        true_ ^= expected;
        places.push_back(place);
        if (mark != expected)
            wrong.emplace_back(place, Data(box.begin(), box.end()));
    }
    if (findAll_.status() != DatabaseStatus::ok)
        return statusOf(findAll_.status());
    damage_ = errSecSuccess;
    sum_ = state;
    if (wrong.empty())
        return true_ == state ? errSecSuccess : errSecVaultItemsOutdated;
    const bool isSwapped = std::any_of(wrong.begin(), wrong.end(), [&](const auto& row) {
        return belongsElsewhere(row.first, row.second, places);
    });
    damage_ = isSwapped ? errSecVaultItemsSwapped : errSecVaultItemDamaged;
    // With the marks all there, the other rows are as they were last written; otherwise nobody knows which are.
    return noted == state || true_ == state ? errSecSuccess : damage_;
}

bool VaultFile::belongsElsewhere(const VaultPlace& place, DataView box,
                                 const std::vector<VaultPlace>& places) const
{
    return std::any_of(places.begin(), places.end(),
                       [&](const VaultPlace& other) { return other != place && cipher_->open(other, box); });
}

OSStatus VaultFile::walk(const std::optional<VaultHash>& pair, const Use& use)
{
    Statement& rows = pair ? findPair_ : findAll_;
    if (pair)
        rows.bind(DataView(*pair));
    else
        rows.bind();
    while (rows.step()) {
        VaultPlace place;
        VaultHash mark;
        std::optional<SecretBytes> plain;
        if (readRow(rows, place, mark) && cipher_->markOf(place, rows.dataAt(3)) == mark)
            plain = cipher_->open(place, rows.dataAt(3));
        if (!plain) {
            rows.reset();
            return damage_ == errSecSuccess ? errSecVaultItemDamaged : damage_;
        }
        if (!use(place, mark, std::move(*plain))) {
            rows.reset();
            return errSecSuccess;
        }
    }
    return statusOf(rows.status());
}

OSStatus VaultFile::insert(const VaultPlace& place, DataView plain)
{
    const Data box = cipher_->seal(place, plain);
    const VaultHash mark = cipher_->markOf(place, box);
    pending_ ^= mark;
    return statusOf(insert_.run(DataView(place.pair), DataView(place.place), DataView(mark), DataView(box)));
}

OSStatus VaultFile::replace(const VaultPlace& place, const VaultHash& mark, DataView plain)
{
    const Data box = cipher_->seal(place, plain);
    const VaultHash fresh = cipher_->markOf(place, box);
    pending_ ^= mark;
    pending_ ^= fresh;
    return statusOf(
        replace_.run(DataView(place.pair), DataView(place.place), DataView(fresh), DataView(box)));
}

OSStatus VaultFile::erase(const VaultPlace& place, const VaultHash& mark)
{
    pending_ ^= mark;
    return statusOf(erase_.run(DataView(place.pair), DataView(place.place)));
}

} // namespace corvane
