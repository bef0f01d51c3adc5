// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Storage/VaultFile.h>
#include <corvane/Platform/Storage/VaultKeychain.h>

#include <cstring>
#include <iterator>
#include <utility>

namespace corvane {

namespace {

constexpr std::byte rowFormat{1};

std::string KeychainItem::*const textFields[] = {&KeychainItem::service,     &KeychainItem::account,
                                                 &KeychainItem::accessGroup, &KeychainItem::label,
                                                 &KeychainItem::generic,     &KeychainItem::accessible};

// What is inside a box: the format, the texts with their lengths, the flag, the dates, and the secret as the rest.
SecretBytes encoded(const KeychainItem& item, DataView secret)
{
    std::size_t size = 2 + 2 * sizeof(Int) + secret.size();
    for (const auto field : textFields)
        size += sizeof(std::uint32_t) + (item.*field).size();
    SecretBytes bytes(size); // of its final size at once, so that no outgrown copy of the secret stays behind
    std::byte* out = bytes.bytes().data();
    const auto put = [&out](const void* from, std::size_t count) {
        if (count > 0)
            std::memcpy(out, from, count);
        out += count;
    };
    put(&rowFormat, 1);
    for (const auto field : textFields) {
        const std::string& text = item.*field;
        const auto length = static_cast<std::uint32_t>(text.size());
        put(&length, sizeof length);
        put(text.data(), text.size());
    }
    const std::byte flag{item.isSynchronizable};
    put(&flag, 1);
    for (const Date date : {item.created, item.modified}) {
        const Int count = date.time_since_epoch().count();
        put(&count, sizeof count);
    }
    put(secret.data(), secret.size());
    return bytes;
}

// Absent for a row that a later version wrote in another format.
std::optional<KeychainItem> decoded(DataView bytes, DataView& secret)
{
    const auto take = [&bytes](void* to, std::size_t count) {
        if (bytes.size() < count)
            return false;
        if (count > 0)
            std::memcpy(to, bytes.data(), count);
        bytes = bytes.subspan(count);
        return true;
    };
    KeychainItem item;
    std::byte mark{};
    if (!take(&mark, 1) || mark != rowFormat)
        return std::nullopt;
    for (const auto field : textFields) {
        std::uint32_t length = 0;
        if (!take(&length, sizeof length) || length > bytes.size())
            return std::nullopt;
        (item.*field).resize(length);
        take((item.*field).data(), length);
    }
    std::byte flag{};
    Int created = 0;
    Int modified = 0;
    if (!take(&flag, 1) || !take(&created, sizeof created) || !take(&modified, sizeof modified))
        return std::nullopt;
    item.isSynchronizable = flag != std::byte{0};
    item.created = Date(Date::duration(created));
    item.modified = Date(Date::duration(modified));
    secret = bytes;
    return item;
}

/// Ends the vault's transaction with the scope.
class Ending {
public:
    explicit Ending(VaultFile& file) : file_(file) {}
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;
    ~Ending() { file_.end(); }

private:
    VaultFile& file_;
};

} // namespace

struct VaultKeychain::State {
    explicit State(const KeychainOptions& options)
        : file(PrivateFolder::pathFor(options.folder), options.wait)
    {}

    /// A row that matches, for what changes it after the walk.
    struct Row {
        VaultPlace place;
        VaultHash mark;
        KeychainItem item;
        SecretBytes plain; // of which `secret` is a part
        DataView secret;
    };

    // Inside a transaction. With `firstOnly` at most one.
    OSStatus match(const KeychainFilter& filter, bool firstOnly, std::vector<Row>& rows)
        CORVANE_REQUIRES(mutex)
    {
        std::optional<VaultHash> pair;
        if (filter.service && filter.account)
            pair = file.cipher().pairOf(*filter.service, *filter.account);
        bool isReadable = true;
        const OSStatus status =
            file.walk(pair, [&](const VaultPlace& place, const VaultHash& mark, SecretBytes plain) {
                DataView secret;
                std::optional<KeychainItem> item = decoded(plain.view(), secret);
                isReadable = item.has_value();
                if (isReadable && filter.matches(*item))
                    rows.push_back({place, mark, std::move(*item), std::move(plain), secret});
                return isReadable && !(firstOnly && !rows.empty());
            });
        if (status != errSecSuccess)
            return status;
        if (!isReadable)
            return errSecVaultDamaged;
        // A row that cannot be trusted could be the one that was meant.
        return rows.empty() && file.damage() != errSecSuccess ? file.damage() : errSecSuccess;
    }

    // Runs `change` for each match in one transaction.
    template <typename Change>
    OSStatus changeMatches(const KeychainFilter& filter, Change change) CORVANE_REQUIRES(mutex)
    {
        if (OSStatus status = file.begin(VaultFile::Access::change); status != errSecSuccess)
            return status;
        const Ending ending(file);
        std::vector<Row> rows;
        if (OSStatus status = match(filter, false, rows); status != errSecSuccess)
            return status;
        if (rows.empty())
            return errSecItemNotFound;
        for (Row& row : rows)
            if (OSStatus status = change(file, row); status != errSecSuccess)
                return status;
        return file.commit();
    }

    Mutex mutex;
    VaultFile file CORVANE_GUARDED_BY(mutex);
};

VaultKeychain::VaultKeychain(const KeychainOptions& options) : state_(std::make_unique<State>(options)) {}

VaultKeychain::~VaultKeychain() = default;

OSStatus VaultKeychain::find(const KeychainFilter& filter, KeychainFetch fetch,
                             std::vector<KeychainMatch>& found)
{
    const MutexLock lock(state_->mutex);
    if (const OSStatus status = state_->file.begin(VaultFile::Access::read); status != errSecSuccess)
        return status;
    const Ending ending(state_->file);
    std::vector<State::Row> rows;
    if (const OSStatus status = state_->match(filter, fetch.onlyOne, rows); status != errSecSuccess)
        return status;
    for (State::Row& row : rows)
        found.push_back({fetch.attributes ? std::move(row.item) : KeychainItem(),
                         fetch.secret ? SecretBytes(row.secret) : SecretBytes()});
    return rows.empty() ? errSecItemNotFound : errSecSuccess;
}

OSStatus VaultKeychain::add(const KeychainItem& item, DataView secret)
{
    const MutexLock lock(state_->mutex);
    VaultFile& file = state_->file;
    if (const OSStatus status = file.begin(VaultFile::Access::write); status != errSecSuccess)
        return status;
    const Ending ending(file);
    const VaultPlace place = file.cipher().placeOf(item.service, item.account, item.accessGroup);
    bool exists = false;
    OSStatus status =
        file.walk(place.pair, [&](const VaultPlace& there, const VaultHash&, const SecretBytes&) {
            exists = there == place;
            return !exists;
        });
    if (status != errSecSuccess || exists)
        return exists ? errSecDuplicateItem : status;
    KeychainItem dated = item;
    dated.created = dated.modified = currentDate();
    status = file.insert(place, encoded(dated, secret).view());
    return status == errSecSuccess ? file.commit() : status;
}

OSStatus VaultKeychain::update(const KeychainFilter& filter, const KeychainChanges& changes)
{
    const MutexLock lock(state_->mutex);
    return state_->changeMatches(filter, [&changes](VaultFile& file, State::Row& row) {
        changes.apply(row.item);
        row.item.modified = currentDate();
        return file.replace(row.place, row.mark,
                            encoded(row.item, changes.secret.value_or(row.secret)).view());
    });
}

OSStatus VaultKeychain::remove(const KeychainFilter& filter)
{
    const MutexLock lock(state_->mutex);
    return state_->changeMatches(
        filter, [](VaultFile& file, const State::Row& row) { return file.erase(row.place, row.mark); });
}

KeychainUse VaultKeychain::use(std::string_view)
{
    const MutexLock lock(state_->mutex);
    OSStatus status = state_->file.begin(VaultFile::Access::read);
    if (status == errSecSuccess) {
        status = state_->file.damage();
        state_->file.end();
    } else if (status == errSecItemNotFound) {
        status = errSecSuccess; // the first item makes it
    }
    return {"vault", status, "The program chose it."};
}

} // namespace corvane
