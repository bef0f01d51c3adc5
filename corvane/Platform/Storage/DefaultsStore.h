// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Storage/DefaultsFile.h>
#include <corvane/Platform/Storage/DefaultsTable.h>
#include <corvane/Platform/Storage/UserDefaults.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace corvane {

/// What the handles of one suite share: its entries in memory, and the file behind them unless it is kept in
/// memory alone. Reads never touch the file. Thread-safe.
///
/// Two locks: `writing_` is held by whoever writes, for as long as that takes, and keeps the file; `reading_`
/// is held for moments and keeps the entries. Entries come, go and change under both, so a writer may look at
/// their keys and marks under its own lock.
class DefaultsStore {
public:
    static std::shared_ptr<DefaultsStore> inMemory(std::string suiteName);
    /// The store of that file; one for as long as anybody in this process holds it.
    static std::shared_ptr<DefaultsStore> atPath(std::string suiteName, const std::string& path);

    ~DefaultsStore();
    DefaultsStore(const DefaultsStore&) = delete;
    DefaultsStore& operator=(const DefaultsStore&) = delete;

    /// What `use` makes of the value, null when there is none. A transaction's own thread sees its changes.
    template <typename F>
    auto read(std::string_view key, F use) const
    {
        if (isInMyTransaction()) [[unlikely]] {
            const auto changed = changesOfTransaction().find(key);
            if (changed != changesOfTransaction().end())
                return use(changed->second ? &*changed->second : nullptr);
        }
        const MutexLock lock(reading_);
        return use(table_.value(key));
    }
    PropertyDictionary all() const;

    bool set(std::string_view key, std::optional<PropertyValue> value);
    bool transaction(const std::function<void()>& body);
    bool synchronize();
    const std::string& suiteName() const noexcept { return suiteName_; }
    const std::string& path() const noexcept { return path_; } ///< empty in memory
    UserDefaultsState state() const;
    std::optional<UserDefaultsFailure> lastFailure() const;
    std::vector<std::string> filesSetAside() const;

private:
    struct Change {
        std::string key;
        std::optional<PropertyValue> value;
        Data archive;
        Int checksum = 0;
    };

    // By which the watcher reaches a store without keeping it alive: it is closed when its last handle goes.
    struct Gate {
        Mutex mutex;
        DefaultsStore* store CORVANE_GUARDED_BY(mutex);
    };

    DefaultsStore(std::string suiteName, const std::string& path);

    static bool encode(std::string_view key, std::optional<PropertyValue> value,
                       std::vector<Change>& changes);
    bool isInMyTransaction() const noexcept
    {
        const std::thread::id owner = owner_.load(std::memory_order_relaxed);
        return owner != std::thread::id() && owner == std::this_thread::get_id();
    }
    using Changes = std::map<std::string, std::optional<PropertyValue>, std::less<>>;
    // For the thread whose transaction is under way, which holds the lock somewhere up its stack.
    Changes& changesOfTransaction() const CORVANE_NO_THREAD_SAFETY_ANALYSIS { return transactionChanges_; }
    DefaultsTable& tableOfWriter() CORVANE_REQUIRES(writing_) CORVANE_NO_THREAD_SAFETY_ANALYSIS
    {
        return table_;
    }

    DatabaseStatus ensureWritable() CORVANE_REQUIRES(writing_);
    DatabaseStatus openAndLoad() CORVANE_REQUIRES(writing_);
    DatabaseStatus load() CORVANE_REQUIRES(writing_);
    DatabaseStatus loadAll() CORVANE_REQUIRES(writing_);
    DatabaseStatus loadChanges() CORVANE_REQUIRES(writing_);
    void restore(const PropertyDictionary& kept) CORVANE_REQUIRES(writing_);
    static void refresh(Gate& gate);
    std::vector<std::string> takeChangesElsewhere();
    DatabaseStatus store(const std::vector<Change>& changes) CORVANE_REQUIRES(writing_);
    void apply(std::vector<Change> changes) CORVANE_REQUIRES(writing_);
    bool note(DatabaseStatus status) CORVANE_REQUIRES(writing_);
    bool fail(UserDefaultsFailure::Kind kind, std::string message);
    void watch() CORVANE_REQUIRES(writing_);

    const std::string suiteName_;
    const std::string path_;

    mutable Mutex writing_;
    std::optional<DefaultsFile> file_ CORVANE_GUARDED_BY(writing_);
    bool isLoaded_ CORVANE_GUARDED_BY(writing_) = false; // once it was open
    Int readings_ CORVANE_GUARDED_BY(writing_) = 0;
    Int watch_ CORVANE_GUARDED_BY(writing_) = 0;
    std::shared_ptr<Gate> gate_;
    std::vector<std::string> changedElsewhere_ CORVANE_GUARDED_BY(writing_); // and not yet announced
    mutable Changes transactionChanges_ CORVANE_GUARDED_BY(writing_);
    std::atomic<std::thread::id> owner_; // the thread whose transaction is under way

    mutable Mutex reading_;
    mutable DefaultsTable table_ CORVANE_GUARDED_BY(reading_); // reading may take an archive out of its form
    UserDefaultsState state_ CORVANE_GUARDED_BY(reading_) = UserDefaultsState::memory;
    std::optional<UserDefaultsFailure> failure_ CORVANE_GUARDED_BY(reading_);
    std::vector<std::string> filesSetAside_ CORVANE_GUARDED_BY(reading_);
};

} // namespace corvane
