// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/Platform/Dispatch/ReadSection.h>

#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvane {

namespace {

// Guards every change: of the table of names, of the records and of their lists. Nothing of the host's is
// called or destroyed under it.
constinit std::mutex changes;

} // namespace

// One observer in a record's list. Posts walk `next` without a lock; a removed node keeps its `next`, so a
// post that stands on it finds its way back.
struct NotificationNode : detail::Retired {
    std::atomic<NotificationNode*> next{nullptr};
    NotificationNode* previous = nullptr;
    std::uint64_t serial = 0;
    const void* sender = nullptr;
    // What a post calls itself: null once removed, and with an executor, which is not the quick way anyhow.
    std::atomic<detail::NotificationHandler::Call> direct{nullptr};
    std::shared_ptr<detail::NotificationHandler> handler;
    NotificationRecord* record = nullptr;
    std::shared_ptr<NotificationObserver> token; // the centre's reference; gone as soon as it is removed
};

class NotificationObserver {
public:
    NotificationNode* node; // null once removed
};

// The observers of one name in one centre. Records live as long as the process; that of a centre that is gone
// is taken over by the next that needs one for the name.
struct NotificationRecord {
    std::atomic<const NotificationCenter*> center{nullptr};
    NotificationRecord* nextOfName = nullptr;
    NotificationRecord* nextOfCenter = nullptr;
    std::atomic<Int>* observerCount = nullptr;
    std::atomic<NotificationNode*> first{nullptr};
    NotificationNode* last = nullptr;
    std::atomic<std::uint64_t> newestSerial{0};

    void append(NotificationNode* node)
    {
        node->record = this;
        node->previous = last;
        node->serial = newestSerial.load(std::memory_order_relaxed) + 1;
        (last ? last->next : first).store(node, std::memory_order_release);
        last = node;
        newestSerial.store(node->serial, std::memory_order_release);
        observerCount->fetch_add(1, std::memory_order_relaxed);
    }

    // The token is handed out so that it is let go outside the lock.
    std::shared_ptr<NotificationObserver> remove(NotificationNode* node)
    {
        NotificationNode* const next = node->next.load(std::memory_order_relaxed);
        (node->previous ? node->previous->next : first).store(next, std::memory_order_release);
        (next ? next->previous : last) = node->previous;
        observerCount->fetch_sub(1, std::memory_order_relaxed);
        node->direct.store(nullptr, std::memory_order_release);
        node->handler->isRemoved.store(true, std::memory_order_release);
        node->token->node = nullptr;
        return std::move(node->token);
    }
};

NotificationName::NotificationName(std::string_view text)
{
    static auto* const names = new std::unordered_map<std::string_view, std::unique_ptr<Interned>>;
    const std::lock_guard guard(changes);
    if (const auto known = names->find(text); known != names->end()) {
        interned_ = known->second.get();
        return;
    }
    auto name = std::make_unique<Interned>();
    name->text = text;
    interned_ = name.get();
    names->emplace(interned_->text, std::move(name));
}

constinit NotificationCenter::Immortal NotificationCenter::default_;

NotificationCenter::~NotificationCenter()
{
    std::vector<std::shared_ptr<NotificationObserver>> tokens;
    std::vector<std::unique_ptr<detail::Retired>> removed;
    {
        const std::lock_guard guard(changes);
        for (NotificationRecord* record = records_; record; record = record->nextOfCenter) {
            while (NotificationNode* node = record->first.load(std::memory_order_relaxed)) {
                tokens.push_back(record->remove(node));
                removed.emplace_back(node);
            }
            record->center.store(nullptr, std::memory_order_relaxed);
        }
    }
    for (auto& node : removed)
        detail::ReadSection::release(std::move(node));
}

inline NotificationRecord* NotificationCenter::record(NotificationName name) const noexcept
{
    NotificationRecord* record = name.interned_->records.load(std::memory_order_acquire);
    while (record && record->center.load(std::memory_order_relaxed) != this)
        record = record->nextOfName;
    return record;
}

std::shared_ptr<NotificationObserver>
NotificationCenter::add(NotificationName name, const void* sender,
                        std::shared_ptr<detail::NotificationHandler> handler)
{
    precondition(handler != nullptr, "A notification observer needs a handler");
    auto node = std::make_unique<NotificationNode>();
    node->sender = sender;
    if (!handler->executor)
        node->direct = handler->call;
    node->handler = std::move(handler);
    auto token = std::make_shared<NotificationObserver>(NotificationObserver{node.get()});
    node->token = token;
    auto spare = std::make_unique<NotificationRecord>();

    const std::lock_guard guard(changes);
    NotificationRecord* mine = record(name);
    if (!mine) {
        mine = name.interned_->records.load(std::memory_order_relaxed);
        while (mine && mine->center.load(std::memory_order_relaxed))
            mine = mine->nextOfName;
        if (!mine) {
            mine = spare.release();
            mine->observerCount = &name.interned_->observerCount;
            mine->nextOfName = name.interned_->records.load(std::memory_order_relaxed);
            name.interned_->records.store(mine, std::memory_order_release);
        }
        mine->nextOfCenter = std::exchange(records_, mine);
        mine->center.store(this, std::memory_order_relaxed);
    }
    mine->append(node.release());
    return token;
}

void NotificationCenter::removeObserver(const std::shared_ptr<NotificationObserver>& observer)
{
    if (!observer)
        return;
    std::shared_ptr<NotificationObserver> token;
    std::unique_ptr<NotificationNode> node;
    {
        const std::lock_guard guard(changes);
        if (!observer->node || observer->node->record->center.load(std::memory_order_relaxed) != this)
            return;
        node.reset(observer->node);
        token = node->record->remove(node.get());
    }
    detail::ReadSection::release(std::move(node));
}

namespace {

// Whether it was removed is asked again when its turn comes.
[[gnu::noinline]] void deliverLater(const std::shared_ptr<detail::NotificationHandler>& handler,
                                    const Notification& note)
{
    if (!handler->isRemoved.load(std::memory_order_acquire))
        handler->executor([handler, note] {
            if (!handler->isRemoved.load(std::memory_order_acquire))
                handler->call(*handler, note);
        });
}

} // namespace

void NotificationCenter::deliver(const Notification& note) const
{
    const NotificationRecord* const observed = record(note.name());
    if (!observed)
        return;
    const detail::ReadSection section;
    const std::uint64_t newest = observed->newestSerial.load(std::memory_order_acquire);
    for (const NotificationNode* node = observed->first.load(std::memory_order_acquire);
         node && node->serial <= newest; node = node->next.load(std::memory_order_acquire)) {
        if (node->sender && node->sender != note.sender())
            continue;
        if (const auto call = node->direct.load(std::memory_order_acquire)) [[likely]]
            call(*node->handler, note);
        else if (node->handler->executor)
            deliverLater(node->handler, note);
    }
}

} // namespace corvane
