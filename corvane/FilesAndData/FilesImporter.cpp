// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/FilesImporter.h>
#include <corvane/LowLevel/IndexedOperationsQueue.h>
#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <utility>

namespace corvane {

// The delegate's defaults: everything may be imported, as announced, and nobody listens.
FilesImporterDelegate::~FilesImporterDelegate() = default;
bool FilesImporterDelegate::importerMayImport(FilesImporter&, const std::vector<URL>&)
{
    return true;
}
std::vector<URL> FilesImporterDelegate::importerURLsToImport(FilesImporter&, const std::vector<URL>& urls)
{
    return urls;
}
void FilesImporterDelegate::importerWillImport(FilesImporter&, const std::vector<URL>&) {}
void FilesImporterDelegate::importerDidUpdateProgress(FilesImporter&, double) {}
void FilesImporterDelegate::importerDidImportItems(FilesImporter&, const std::vector<std::any>&) {}
void FilesImporterDelegate::importerDidImportURLs(FilesImporter&, const std::vector<URL>&) {}

const NotificationName FilesImporter::willImportNotification("FilesImporterWillImportNotification");
const NotificationName FilesImporter::didImportNotification("FilesImporterDidImportNotification");

// What jobs hold, so that the importer may go while they run.
struct FilesImporter::State : std::enable_shared_from_this<State> {
    State(FilesImporter* owner, DispatchQoS itemsQoS) : importer(owner), importationItemsQoS(itemsQoS) {}

    std::atomic<FilesImporter*>
        importer; // null once destroyed; what it points to is for the main thread only
    const DispatchQoS importationItemsQoS;
    std::atomic<Int> operationsCount{0};
    std::atomic<Int> importationsCount{0};
    std::atomic<Int> importationsDone{0};
    std::optional<OperationQueue> importationOperationQueue;
    mutable std::mutex delegateLock;
    std::weak_ptr<FilesImporterDelegate> delegateHeld;

    struct Imported {
        std::vector<std::any> items;
        std::vector<URL> urls;
    };

    std::shared_ptr<FilesImporterDelegate> delegate() const
    {
        const std::lock_guard guard(delegateLock);
        return delegateHeld.lock();
    }

    double progress() const noexcept
    {
        const Int count = importationsCount;
        return count == 0 ? 1.0 : static_cast<double>(importationsDone) / static_cast<double>(count);
    }

    // Each report asks anew whether there is an importer: the one before may have destroyed it.
    template <typename... Parameters, typename... Arguments>
    void tell(void (FilesImporterDelegate::*report)(FilesImporter&, Parameters...),
              const Arguments&... arguments)
    {
        FilesImporter* const sender = importer;
        if (const auto listener = sender ? delegate() : nullptr)
            (*listener.*report)(*sender, arguments...);
    }

    void post(NotificationName name)
    {
        if (FilesImporter* const sender = importer)
            NotificationCenter::defaultCenter().post(name, sender);
    }

    void notifyWillImport(const std::vector<URL>& urls)
    {
        tell(&FilesImporterDelegate::importerWillImport, urls);
        post(willImportNotification);
    }

    void notifyDidImport(const std::vector<std::any>& items, const std::vector<URL>& urls)
    {
        tell(&FilesImporterDelegate::importerDidImportItems, items);
        tell(&FilesImporterDelegate::importerDidImportURLs, urls);
        post(didImportNotification);
    }

    void runJob(std::vector<URL> urls)
    {
        if (!importer)
            return;
        if (const auto asked = delegate()) {
            FilesImporter standIn(shared_from_this());
            urls = asked->importerURLsToImport(standIn, urls);
        }
        const Int count = std::ssize(urls);
        DispatchQueue::main().sync([&] {
            importationsCount = checkedAdd<Int>(importationsCount, count);
            tell(&FilesImporterDelegate::importerDidUpdateProgress, progress());
        });
        const Imported imported = importItems(urls);
        DispatchQueue::main().sync([&] {
            importationsCount = checkedSubtract<Int>(importationsCount, count);
            importationsDone = checkedSubtract<Int>(importationsDone, count);
            tell(&FilesImporterDelegate::importerDidUpdateProgress, progress());
            operationsCount = checkedSubtract<Int>(operationsCount, 1);
            notifyDidImport(imported.items, imported.urls);
        });
    }

    std::any importItem(const URL& url)
    {
        const auto maker = importer ? delegate() : nullptr;
        if (!maker)
            return {};
        FilesImporter standIn(shared_from_this());
        try {
            return maker->importerImportItem(standIn, url);
        } catch (...) {
            return {}; // a file that cannot be imported is no reason to stop
        }
    }

    Imported importItems(const std::vector<URL>& urls)
    {
        Imported imported; // filled on the main queue, read after the batch
        IndexedOperationsQueue batch(importationItemsQoS);
        batch.performOperation = [&](Int index, const std::any&) {
            return importItem(urls[static_cast<std::size_t>(index)]);
        };
        batch.didPerformOperation = [&](Int index, const std::any& item) {
            if (item.has_value()) {
                imported.items.push_back(item);
                imported.urls.push_back(urls[static_cast<std::size_t>(index)]);
            }
            importationsDone = checkedAdd<Int>(importationsDone, 1);
            tell(&FilesImporterDelegate::importerDidUpdateProgress, progress());
        };
        batch.performOperations(std::ssize(urls));
        batch.waitUntilAllOperationsAreFinished();
        return imported;
    }
};

FilesImporter::FilesImporter(DispatchQoS importationItemsQoS)
    : state_(std::make_shared<State>(this, importationItemsQoS))
{}

FilesImporter::FilesImporter(std::shared_ptr<State> state) noexcept : state_(std::move(state)) {}

FilesImporter::~FilesImporter()
{
    FilesImporter* self = this; // a stand-in is not the one
    state_->importer.compare_exchange_strong(self, nullptr);
}

std::shared_ptr<FilesImporterDelegate> FilesImporter::delegate() const
{
    return state_->delegate();
}

void FilesImporter::setDelegate(std::weak_ptr<FilesImporterDelegate> delegate)
{
    const std::lock_guard guard(state_->delegateLock);
    state_->delegateHeld.swap(delegate);
}

DispatchQoS FilesImporter::importationItemsQoS() const noexcept
{
    return state_->importationItemsQoS;
}

Int FilesImporter::operationsCount() const noexcept
{
    return state_->operationsCount;
}

Int FilesImporter::importationsCount() const noexcept
{
    return state_->importationsCount;
}

Int FilesImporter::importationsDone() const noexcept
{
    return state_->importationsDone;
}

double FilesImporter::progress() const noexcept
{
    return state_->progress();
}

bool FilesImporter::mayImport(const std::vector<URL>& urls)
{
    const auto asked = delegate();
    return asked && asked->importerMayImport(*this, urls);
}

void FilesImporter::importInBackground(const std::vector<URL>& urls)
{
    if (urls.empty())
        return;
    const std::shared_ptr<State> state = state_; // a delegate may destroy the importer that tells it
    state->operationsCount = checkedAdd<Int>(state->operationsCount, 1);
    state->notifyWillImport(urls);
    if (!state->importationOperationQueue) {
        state->importationOperationQueue.emplace(DispatchQoS::utility);
        state->importationOperationQueue->setMaxConcurrentOperationCount(1);
    }
    state->importationOperationQueue->addOperation([state, urls] { state->runJob(urls); });
}

} // namespace corvane
