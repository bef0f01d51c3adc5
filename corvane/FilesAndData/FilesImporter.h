// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Dispatch/DispatchQoS.h>
#include <corvane/Platform/Dispatch/Notification.h>

#include <any>
#include <memory>
#include <vector>

namespace corvane {

class FilesImporter;

/// Makes the items of a `FilesImporter` and hears how it goes. Questions and reports come on the main thread, except
/// the two that say otherwise. An exception that leaves one of them leaves the block that asked, which stops the
/// process; only `importerImportItem` may throw.
class CORVANE_API FilesImporterDelegate {
public:
    virtual ~FilesImporterDelegate();

    virtual bool importerMayImport(FilesImporter& importer, const std::vector<URL>& urls);
    /// What to import for the announced `urls`: fewer, or the files in the folders among them. In the background.
    virtual std::vector<URL> importerURLsToImport(FilesImporter& importer, const std::vector<URL>& urls);
    /// The item made of `url`; empty for none, and an exception counts as none. In the background, on several threads
    /// at the same time.
    virtual std::any importerImportItem(FilesImporter& importer, const URL& url) = 0;

    virtual void importerWillImport(FilesImporter& importer, const std::vector<URL>& urls);
    /// From 0 to 1, over all unfinished jobs.
    virtual void importerDidUpdateProgress(FilesImporter& importer, double progress);
    /// The items of a finished job in the order they were made, and the URL of each under the same index.
    virtual void importerDidImportItems(FilesImporter& importer, const std::vector<std::any>& items);
    virtual void importerDidImportURLs(FilesImporter& importer, const std::vector<URL>& urls);
};

/// Imports files in the background: one job after the other, the files of a job side by side, each made into an item
/// by the delegate.
///
///     auto gallery = std::make_shared<Gallery>();   // a FilesImporterDelegate
///     FilesImporter importer(DispatchQoS::userInitiated);
///     importer.setDelegate(gallery);
///     if (importer.mayImport(dropped))
///         importer.importInBackground(dropped);
///
/// A job tells the delegate first and posts the notification after, when it is announced and when it has finished.
/// It waits for the main queue several times: a main thread that blocks until an import ends waits for good.
///
/// Destroying the importer is safe at any time and waits for nothing: the delegate is asked and told nothing more, a
/// question in progress ends with its answer dropped, and no notification follows. For that, the `importer` of a
/// background question is a stand-in that shares all with the real one but its address; `==` knows them as one.
///
/// Main-thread, but for the counters, which may be read anywhere and change on the main thread only.
class CORVANE_API FilesImporter {
public:
    /// Posted on the default centre with the importer as sender, without user information.
    static const NotificationName willImportNotification; ///< "FilesImporterWillImportNotification"
    static const NotificationName didImportNotification;  ///< "FilesImporterDidImportNotification"

    explicit FilesImporter(DispatchQoS importationItemsQoS);
    FilesImporter(const FilesImporter&) = delete;
    FilesImporter& operator=(const FilesImporter&) = delete;
    ~FilesImporter();

    /// Held weakly. Thread-safe.
    std::shared_ptr<FilesImporterDelegate> delegate() const;
    void setDelegate(std::weak_ptr<FilesImporterDelegate> delegate);

    /// Of the threads that make items.
    DispatchQoS importationItemsQoS() const noexcept;
    /// Jobs announced and not yet finished.
    Int operationsCount() const noexcept;
    /// URLs of the jobs that have begun and not yet finished, and how many of them are done.
    Int importationsCount() const noexcept;
    Int importationsDone() const noexcept;
    /// `importationsDone()` of `importationsCount()`; 1 when there is none.
    double progress() const noexcept;
    bool isImporting() const noexcept { return operationsCount() != 0; }

    /// The delegate's word; false without one.
    bool mayImport(const std::vector<URL>& urls);
    /// Announces a job and queues it. Does nothing for an empty list.
    void importInBackground(const std::vector<URL>& urls);

    friend bool operator==(const FilesImporter& a, const FilesImporter& b) noexcept
    {
        return a.state_ == b.state_;
    }

private:
    struct State;
    explicit FilesImporter(std::shared_ptr<State> state) noexcept;

    std::shared_ptr<State> state_;
};

} // namespace corvane
