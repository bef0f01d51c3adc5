// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/PropertyArchive.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/Platform/Storage/DefaultsStore.h>
#include <corvane/Platform/Storage/FolderWatcher.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

namespace corvane {

namespace {

UserDefaultsFailure::Kind kind(DatabaseStatus status)
{
    switch (status) {
    case DatabaseStatus::busy:
        return UserDefaultsFailure::Kind::busy;
    case DatabaseStatus::full:
        return UserDefaultsFailure::Kind::full;
    case DatabaseStatus::cannotOpen:
    case DatabaseStatus::readOnly:
        return UserDefaultsFailure::Kind::denied;
    case DatabaseStatus::damaged:
        return UserDefaultsFailure::Kind::damaged;
    case DatabaseStatus::ok:
    case DatabaseStatus::invalid:
    case DatabaseStatus::failed:
        break;
    }
    return UserDefaultsFailure::Kind::other;
}

// The stores of this process by path. Kept for good: work that outlives main() may still ask.
struct Stores {
    Mutex mutex;
    std::map<std::string, std::weak_ptr<DefaultsStore>> byPath CORVANE_GUARDED_BY(mutex);
};

Stores& stores()
{
    static auto* const all = new Stores;
    return *all;
}

} // namespace

std::shared_ptr<DefaultsStore> DefaultsStore::inMemory(std::string suiteName)
{
    return std::shared_ptr<DefaultsStore>(new DefaultsStore(std::move(suiteName), {}));
}

std::shared_ptr<DefaultsStore> DefaultsStore::atPath(std::string suiteName, const std::string& path)
{
    std::error_code unresolved;
    std::filesystem::path place = std::filesystem::weakly_canonical(path, unresolved);
    const std::string key = unresolved ? path : place.string();
    std::shared_ptr<DefaultsStore> store;
    {
        const MutexLock lock(stores().mutex);
        std::weak_ptr<DefaultsStore>& known = stores().byPath[key];
        store = known.lock();
        if (!store) {
            store.reset(new DefaultsStore(std::move(suiteName), key));
            known = store;
        }
    }
    const MutexLock lock(store->writing_);
    if (!store->isLoaded_) {
        DatabaseStatus status = store->openAndLoad();
        store->note(status == DatabaseStatus::ok ? store->file_->writability() : status);
    }
    return store;
}

DefaultsStore::DefaultsStore(std::string suiteName, const std::string& path)
    : suiteName_(std::move(suiteName)), path_(path)
{
    if (path.empty())
        return;
    file_.emplace(path);
    gate_ = std::make_shared<Gate>();
    gate_->store = this;
    state_ = UserDefaultsState::unavailable;
}

DefaultsStore::~DefaultsStore()
{
    if (path_.empty())
        return;
    {
        const MutexLock lock(gate_->mutex);
        gate_->store = nullptr;
    }
    if (watch_ != 0)
        FolderWatcher::shared().remove(watch_);
    const MutexLock lock(stores().mutex);
    const auto mine = stores().byPath.find(path_);
    if (mine != stores().byPath.end() && mine->second.expired()) // otherwise it is a younger one by now
        stores().byPath.erase(mine);
}

PropertyDictionary DefaultsStore::all() const
{
    PropertyDictionary result;
    {
        const MutexLock lock(reading_);
        for (DefaultsTable::Entry& entry : table_.entries())
            if (const PropertyValue* value = table_.value(entry))
                result.emplace(entry.key, *value);
    }
    if (isInMyTransaction())
        for (const auto& [key, value] : changesOfTransaction()) {
            result.erase(key);
            if (value)
                result.emplace(key, *value);
        }
    return result;
}

bool DefaultsStore::set(std::string_view key, std::optional<PropertyValue> value)
{
    if (isInMyTransaction()) {
        changesOfTransaction().insert_or_assign(std::string(key), std::move(value));
        return true;
    }
    std::vector<Change> changes;
    const bool isEncoded = encode(key, std::move(value), changes);
    const MutexLock lock(writing_);
    if (!isEncoded)
        return fail(UserDefaultsFailure::Kind::other, "too many values inside one another");
    if (!file_)
        return apply(std::move(changes)), true;
    DatabaseStatus status = ensureWritable();
    if (status == DatabaseStatus::ok)
        status = store(changes);
    if (status == DatabaseStatus::damaged) { // found only now; what is in memory goes into the new file
        file_->close();
        status = ensureWritable();
        if (status == DatabaseStatus::ok)
            status = store(changes);
    }
    if (!note(status))
        return false;
    apply(std::move(changes));
    return true;
}

bool DefaultsStore::transaction(const std::function<void()>& body)
{
    if (isInMyTransaction())
        return body(), true;
    const MutexLock lock(writing_);
    if (file_) {
        DatabaseStatus status = ensureWritable();
        if (status == DatabaseStatus::ok)
            status = file_->begin();
        if (status == DatabaseStatus::ok && file_->hasChanged())
            status = load();
        if (!note(status))
            return file_->rollback(), false;
    }
    Changes changed;
    try {
        owner_ = std::this_thread::get_id();
        body();
        owner_ = std::thread::id();
        changed.swap(transactionChanges_);
    } catch (...) {
        owner_ = std::thread::id();
        transactionChanges_.clear();
        if (file_)
            file_->rollback();
        throw;
    }
    std::vector<Change> changes;
    bool isEncoded = true;
    for (auto& [key, value] : changed)
        isEncoded = isEncoded && encode(key, std::move(value), changes);
    if (!isEncoded) {
        if (file_)
            file_->rollback();
        return fail(UserDefaultsFailure::Kind::other, "too many values inside one another");
    }
    if (file_) {
        DatabaseStatus status = store(changes);
        if (status == DatabaseStatus::ok)
            status = file_->commit();
        file_->rollback();
        if (!note(status))
            return false;
    }
    apply(std::move(changes));
    return true;
}

bool DefaultsStore::synchronize()
{
    if (isInMyTransaction())
        return false;
    const MutexLock lock(writing_);
    if (!file_)
        return true;
    DatabaseStatus status = ensureWritable();
    if (status == DatabaseStatus::ok)
        status = file_->synchronize();
    return note(status);
}

void DefaultsStore::refresh(Gate& gate)
{
    std::string suiteName;
    std::vector<std::string> changed;
    {
        const MutexLock lock(gate.mutex);
        if (gate.store == nullptr)
            return;
        suiteName = gate.store->suiteName_;
        changed = gate.store->takeChangesElsewhere();
    }
    if (!changed.empty())
        NotificationCenter::defaultCenter().post(UserDefaults::didChangeElsewhereNotification, nullptr, [&] {
            return UserInfo{{UserDefaults::suiteNameKey, suiteName}, {UserDefaults::changedKeysKey, changed}};
        });
}

std::vector<std::string> DefaultsStore::takeChangesElsewhere()
{
    const MutexLock lock(writing_);
    if (!isLoaded_)
        return {};
    if (file_->isCurrent() && file_->writability() == DatabaseStatus::ok) {
        if (file_->hasChanged() && load() == DatabaseStatus::damaged) {
            file_->close();
            note(openAndLoad());
        }
    } else if (FileNumber::of(path_)) { // one that has gone is made anew by the next write
        note(openAndLoad());
    }
    return std::exchange(changedElsewhere_, {});
}

DatabaseStatus DefaultsStore::ensureWritable()
{
    if (!file_->isCurrent() || file_->writability() != DatabaseStatus::ok) {
        const DatabaseStatus status = openAndLoad();
        if (status != DatabaseStatus::ok)
            return status;
    }
    return file_->writability();
}

DatabaseStatus DefaultsStore::openAndLoad()
{
    DatabaseStatus status = DatabaseStatus::failed;
    const std::optional<FileNumber> before = file_->number();
    std::optional<PropertyDictionary> kept;
    for (int attempt = 0; attempt < 8; ++attempt) { // others may be replacing the file as well
        status = file_->open();
        if (isLoaded_ && !kept && file_->number() != before)
            kept = all();
        if (status == DatabaseStatus::ok)
            status = load();
        if (status == DatabaseStatus::ok && file_->isCurrent()) {
            if (kept)
                restore(*kept);
            if (!std::exchange(isLoaded_, true))
                changedElsewhere_.clear();
            watch();
            if (file_->hasChanged()) // before the watch began
                load();
            const MutexLock lock(reading_);
            state_ = file_->writability() == DatabaseStatus::ok ? UserDefaultsState::ready
                                                                : UserDefaultsState::readOnly;
            return status;
        }
        if (status == DatabaseStatus::ok)
            continue;
        if (status != DatabaseStatus::damaged)
            break;
        std::optional<std::string> aside;
        if (!file_->setAside(aside))
            break;
        if (aside) {
            const MutexLock lock(reading_);
            filesSetAside_.push_back(std::move(*aside));
        }
    }
    file_->close();
    const MutexLock lock(reading_);
    state_ = UserDefaultsState::unavailable;
    return status;
}

// The file broke while it was in use, or somebody took it away: the new one gets what memory has and it has not.
void DefaultsStore::restore(const PropertyDictionary& kept)
{
    std::vector<Change> changes;
    for (const auto& [key, value] : kept)
        if (tableOfWriter().find(key) == nullptr)
            encode(key, value, changes);
    if (changes.empty() || file_->writability() != DatabaseStatus::ok)
        return;
    note(store(changes));
    apply(std::move(changes));
}

DatabaseStatus DefaultsStore::load()
{
    return tableOfWriter().entries().empty() ? loadAll() : loadChanges();
}

DatabaseStatus DefaultsStore::loadAll()
{
    DefaultsTable fresh;
    const DatabaseStatus status = file_->read([&](const DefaultsEntry& stored) {
        if (fresh.entries().empty())
            fresh.reserve(static_cast<std::size_t>(std::clamp(stored.remaining, Int{0}, Int{1} << 20)));
        fresh.addArchive(stored.key, stored.archive, stored.checksum);
    });
    if (status != DatabaseStatus::ok)
        return status;
    if (isLoaded_)
        for (const DefaultsTable::Entry& entry : fresh.entries())
            changedElsewhere_.emplace_back(entry.key);
    const MutexLock lock(reading_);
    table_ = std::move(fresh);
    return status;
}

DatabaseStatus DefaultsStore::loadChanges()
{
    const Int reading = ++readings_;
    DefaultsTable& table = tableOfWriter();
    std::vector<Change> changes;
    const DatabaseStatus status = file_->read([&](const DefaultsEntry& stored) {
        DefaultsTable::Entry* const known = table.find(stored.key);
        if (known)
            known->seen = reading;
        if (!known || known->checksum != stored.checksum)
            changes.push_back(
                {std::string(stored.key), unarchivedValue(stored.archive), {}, stored.checksum});
    });
    if (status != DatabaseStatus::ok)
        return status;
    for (const DefaultsTable::Entry& entry : table.entries())
        if (entry.seen != reading)
            changes.push_back({std::string(entry.key), std::nullopt, {}, 0});
    for (const Change& change : changes)
        changedElsewhere_.push_back(change.key);
    apply(std::move(changes));
    return status;
}

DatabaseStatus DefaultsStore::store(const std::vector<Change>& changes)
{
    const bool several = changes.size() > 1 && !file_->isInTransaction();
    DatabaseStatus status = several ? file_->begin() : DatabaseStatus::ok;
    for (const Change& change : changes) {
        if (status != DatabaseStatus::ok)
            break;
        status = change.value ? file_->put({change.key, change.archive, change.checksum})
                              : file_->erase(change.key);
    }
    if (several) {
        if (status == DatabaseStatus::ok)
            status = file_->commit();
        file_->rollback();
    }
    return status;
}

void DefaultsStore::apply(std::vector<Change> changes)
{
    const MutexLock lock(reading_);
    for (Change& change : changes)
        if (change.value)
            table_.put(std::move(change.key), std::move(*change.value), change.checksum);
        else
            table_.erase(change.key);
}

bool DefaultsStore::encode(std::string_view key, std::optional<PropertyValue> value,
                           std::vector<Change>& changes)
{
    Change change{std::string(key), std::move(value), {}, 0};
    if (change.value) {
        std::optional<Data> archive = archivedData(*change.value);
        if (!archive)
            return false;
        change.archive = std::move(*archive);
        change.checksum = defaultsChecksum(key, change.archive);
    }
    changes.push_back(std::move(change));
    return true;
}

void DefaultsStore::watch()
{
    if (watch_ != 0) // of a folder that may be another one by now
        FolderWatcher::shared().remove(watch_);
    const std::filesystem::path file = path_;
    watch_ = FolderWatcher::shared().add(file.parent_path().string(), file.filename().string(),
                                         [gate = gate_] { refresh(*gate); });
}

bool DefaultsStore::note(DatabaseStatus status)
{
    if (status != DatabaseStatus::ok)
        return fail(kind(status), file_->message());
    const MutexLock lock(reading_);
    failure_.reset();
    return true;
}

bool DefaultsStore::fail(UserDefaultsFailure::Kind kind, std::string message)
{
    const MutexLock lock(reading_);
    failure_ = {kind, std::move(message)};
    return false;
}

UserDefaultsState DefaultsStore::state() const
{
    const MutexLock lock(reading_);
    return state_;
}

std::optional<UserDefaultsFailure> DefaultsStore::lastFailure() const
{
    const MutexLock lock(reading_);
    return failure_;
}

std::vector<std::string> DefaultsStore::filesSetAside() const
{
    const MutexLock lock(reading_);
    return filesSetAside_;
}

} // namespace corvane
