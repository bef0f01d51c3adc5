// SPDX-License-Identifier: Apache-2.0
#include "ContactSheet.h"

#include "Pictures.h"
#include <corvane/CoreGraphics/CGImage.h>
#include <corvane/FilesAndData/FilesIterator.h>
#include <corvane/FilesAndData/UTIType.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

namespace contactsheet {
namespace {

using namespace corvane;

/// Why there is no thumbnail of the file at `path`.
std::string failureOf(const std::string& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error)
        return error.message();
    if (!std::filesystem::is_regular_file(status))
        return "not a file";
    if (::access(path.c_str(), R_OK) != 0)
        return std::strerror(errno);
    if (std::filesystem::file_size(path, error) == 0)
        return "the file is empty";
    if (!imageSize(URL::fromPath(path)))
        return "not a PNG, JPEG, TIFF or HEIC picture";
    return "damaged, cut short or too large";
}

} // namespace

ContactSheet::ContactSheet(Options options) : options_(std::move(options)) {}

bool ContactSheet::begin()
{
    begin_ = std::chrono::steady_clock::now();
    if (::access(options_.folder.path().c_str(), R_OK) != 0) {
        console_.message(printable(options_.folder.path()) + ": " + std::strerror(errno));
        return false;
    }
    const auto writing = options_.format == CGImageExportFormat::jpg ? defaultJPGWritingOptions(0.9)
                                                                     : defaultWritingOptions(options_.format);
    destination_ = CGImageDestination::create(options_.output, cgType(options_.format), 1,
                                              writing.value_or(PropertyDictionary()));
    if (!destination_) {
        console_.message(printable(options_.output.path()) + " cannot be written.");
        return false;
    }
    importer_.setDelegate(weak_from_this());
    importer_.importInBackground({options_.folder});
    return true;
}

void ContactSheet::interrupt(int signal)
{
    Stage expected = Stage::working;
    if (!stage_.compare_exchange_strong(expected, Stage::interrupted))
        return;
    console_.message("Interrupted: no sheet was written.");
    // Behind a drawing that is under way, so that what it has written so far is gone when the process ends.
    drawing_.async([self = shared_from_this(), signal] {
        self->destination_.reset();
        DispatchQueue::main().async([self, signal] { self->end(128 + signal); });
    });
}

std::vector<URL> ContactSheet::importerURLsToImport(FilesImporter&, const std::vector<URL>& urls)
{
    FilesIterator files(urls);
    files.skipSubdirectoryDescendants = !options_.entersSubfolders;
    files.allowedTypes = {UTIType::png, UTIType::jpeg, UTIType::tiff, UTIType("public.heic")};
    const URL sheet = options_.output.resolvingSymlinksInPath();
    std::vector<URL> pictures;
    while (auto url = files.next())
        if (url->resolvingSymlinksInPath() != sheet) // an earlier one, in the folder itself
            pictures.push_back(*std::move(url));
    pictures = chosenPictures(std::move(pictures), options_, [self = shared_from_this()](std::string line) {
        DispatchQueue::main().async([self, line = std::move(line)] { self->console_.message(line); });
    });
    for (std::size_t place = 0; place < pictures.size(); ++place)
        places_[pictures[place].path()] = place;

    found_ = static_cast<Int>(pictures.size());
    layout_ = Layout::fitting(found_, options_.edge, options_.columns);
    return layout_ ? pictures : std::vector<URL>();
}

std::any ContactSheet::importerImportItem(FilesImporter&, const URL& url)
{
    if (stage_ == Stage::interrupted)
        return {};
    Picture picture{url, thumbnail(url, static_cast<CGFloat>(layout_->edge)), {}};
    if (!picture.thumbnail)
        picture.failure = failureOf(url.path());
    return picture;
}

void ContactSheet::importerDidUpdateProgress(FilesImporter& importer, double)
{
    if (stage_ == Stage::working)
        console_.progress(importer.importationsDone(), importer.importationsCount());
}

void ContactSheet::importerDidImportItems(FilesImporter&, const std::vector<std::any>& items)
{
    if (stage_ != Stage::working)
        return;
    for (const std::any& item : items)
        pictures_.push_back(std::any_cast<const Picture&>(item));
    std::ranges::sort(pictures_, {},
                      [this](const Picture& picture) { return places_.at(picture.url.path()); });
    const auto drawn = std::count_if(pictures_.begin(), pictures_.end(),
                                     [](const Picture& picture) { return picture.thumbnail.has_value(); });
    if (found_ == 0)
        return fail(
            "No pictures in " + printable(options_.folder.path()) +
            (options_.filter.empty() ? "." : " with \"" + printable(options_.filter) + "\" in their names."));
    if (!layout_)
        return fail("A sheet of " + std::to_string(found_) +
                    " pictures would be too large: choose a smaller --edge or other --columns.");
    if (drawn == 0)
        return fail("None of the pictures in " + printable(options_.folder.path()) + " can be read.");
    // Those that failed leave no holes.
    layout_ = Layout::fitting(drawn, layout_->edge, options_.columns);
    drawing_.async([self = shared_from_this()] { self->drawAndWrite(); });
}

void ContactSheet::drawAndWrite()
{
    const auto sheet = drawSheet(pictures_, *layout_);
    if (sheet)
        destination_->addImage(*sheet);
    Stage expected = Stage::working;
    if (!stage_.compare_exchange_strong(expected, Stage::puttingInPlace))
        return;
    const bool isWritten = sheet && destination_->finalize();
    DispatchQueue::main().async([self = shared_from_this(), isWritten] {
        if (!isWritten)
            return self->fail(printable(self->options_.output.path()) + " could not be written.");
        self->summarize();
        self->end(0);
    });
}

void ContactSheet::end(int status)
{
    exitStatus_ = status;
    RunLoop::main().stop();
}

void ContactSheet::fail(const std::string& message)
{
    listFailures();
    console_.message(message);
    end(1);
}

void ContactSheet::summarize()
{
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin_;
    const auto failures = std::count_if(pictures_.begin(), pictures_.end(),
                                        [](const Picture& picture) { return !picture.thumbnail; });
    const auto drawn = static_cast<std::ptrdiff_t>(pictures_.size()) - failures;
    char line[160];
    std::snprintf(line, sizeof line, "%td %s, %td %s, %.2f seconds, %.1f pictures per second", drawn,
                  drawn == 1 ? "picture" : "pictures", failures, failures == 1 ? "failure" : "failures",
                  seconds.count(), static_cast<double>(drawn) / std::max(seconds.count(), 1e-6));
    console_.result(line);
    listFailures();
    console_.result("Open " + printable(options_.output.path()));
}

void ContactSheet::listFailures()
{
    for (const Picture& picture : pictures_)
        if (!picture.thumbnail)
            console_.result("  not drawn: " + printable(picture.url.path()) + ": " + picture.failure);
}

} // namespace contactsheet
