// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Console.h"
#include "Options.h"
#include "Sheet.h"
#include <corvane/FilesAndData/FilesImporter.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Graphics/CGImageDestination.h>

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace contactsheet {

/// The making of one sheet: finds the pictures and makes their thumbnails in the background, shows the progress,
/// draws and writes the sheet, and says how it went. It stops the main run loop when it has ended, in one way or
/// another. Main-thread, but for the questions that the importer asks.
class ContactSheet : public corvane::FilesImporterDelegate,
                     public std::enable_shared_from_this<ContactSheet> {
public:
    explicit ContactSheet(Options options);

    /// False, with a message, when there is no such folder or the sheet could not be written later.
    bool begin();
    /// Ends without a sheet, unless it is already being put in place.
    void interrupt(int signal);
    /// For the process; meaningful once the run loop has been stopped.
    int exitStatus() const { return exitStatus_; }

    std::vector<corvane::URL> importerURLsToImport(corvane::FilesImporter& importer,
                                                   const std::vector<corvane::URL>& urls) override;
    std::any importerImportItem(corvane::FilesImporter& importer, const corvane::URL& url) override;
    void importerDidUpdateProgress(corvane::FilesImporter& importer, double progress) override;
    void importerDidImportItems(corvane::FilesImporter& importer,
                                const std::vector<std::any>& items) override;

private:
    enum class Stage { working, puttingInPlace, interrupted };

    void drawAndWrite();
    void end(int status);
    void fail(const std::string& message);
    void summarize();
    void listFailures();

    const Options options_;
    corvane::FilesImporter importer_{corvane::DispatchQoS::userInitiated};
    corvane::DispatchQueue drawing_{"ContactSheet.drawing"};
    std::optional<corvane::CGImageDestination> destination_;
    corvane::Int found_ = 0;
    std::map<std::string, std::size_t>
        places_;                   // of the paths on the sheet; set before the first item is imported
    std::optional<Layout> layout_; // set before the first item is imported
    std::vector<Picture> pictures_;
    std::atomic<Stage> stage_ = Stage::working;

    Console console_;
    std::chrono::steady_clock::time_point begin_;
    int exitStatus_ = 1;
};

} // namespace contactsheet
