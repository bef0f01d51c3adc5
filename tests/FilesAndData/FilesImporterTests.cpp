// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/FilesImporter.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

std::vector<URL> files(int count)
{
    std::vector<URL> urls;
    for (int i = 0; i < count; ++i)
        urls.push_back(URL::fromPath("/files/" + std::to_string(i)));
    return urls;
}

// Makes a text of each URL and writes down what it hears.
class Recorder : public FilesImporterDelegate {
public:
    const FilesImporter* real = nullptr;
    bool mayImport = true;
    std::function<std::vector<URL>(std::vector<URL>)> narrow = [](std::vector<URL> all) { return all; };
    std::function<std::any(const URL&)> make = [](const URL& url) {
        return std::any(url.lastPathComponent());
    };
    std::function<void()> willImport = [] {};

    std::vector<std::string>& log;
    std::vector<double> progress;
    std::vector<std::string> items;
    std::vector<std::string> urls;

    explicit Recorder(std::vector<std::string>& sharedLog) : log(sharedLog) {}

    bool importerMayImport(FilesImporter& importer, const std::vector<URL>&) override
    {
        return mayImport && &importer == real;
    }
    std::vector<URL> importerURLsToImport(FilesImporter& importer, const std::vector<URL>& announced) override
    {
        EXPECT_NE(std::this_thread::get_id(), mainThread_);
        EXPECT_EQ(importer.importationItemsQoS(), DispatchQoS::userInitiated);
        return narrow(announced);
    }
    std::any importerImportItem(FilesImporter&, const URL& url) override
    {
        EXPECT_NE(std::this_thread::get_id(), mainThread_);
        return make(url);
    }
    void importerWillImport(FilesImporter& importer, const std::vector<URL>& announced) override
    {
        hear(importer, "will import " + std::to_string(announced.size()));
        willImport();
    }
    void importerDidUpdateProgress(FilesImporter& importer, double value) override
    {
        EXPECT_EQ(&importer, real);
        EXPECT_EQ(value, importer.progress());
        progress.push_back(value);
    }
    void importerDidImportItems(FilesImporter& importer, const std::vector<std::any>& made) override
    {
        hear(importer, "did import " + std::to_string(made.size()) + " items");
        for (const std::any& item : made)
            items.push_back(std::any_cast<std::string>(item));
    }
    void importerDidImportURLs(FilesImporter& importer, const std::vector<URL>& imported) override
    {
        hear(importer, "did import " + std::to_string(imported.size()) + " URLs");
        for (const URL& url : imported)
            urls.push_back(url.lastPathComponent());
    }

private:
    void hear(FilesImporter& importer, std::string what)
    {
        EXPECT_EQ(std::this_thread::get_id(), mainThread_);
        EXPECT_EQ(&importer, real);
        log.push_back(std::move(what));
    }

    std::thread::id mainThread_ = std::this_thread::get_id();
};

struct FilesImporterTests : testing::Test {
    FilesImporterTests()
    {
        delegate->real = importer.get();
        importer->setDelegate(delegate);
        for (const auto& [name, text] : {std::pair(FilesImporter::willImportNotification, "will note"),
                                         std::pair(FilesImporter::didImportNotification, "did note")})
            tokens.push_back(
                center.addObserver(name, importer.get(), [this, text = text](const Notification& note) {
                    EXPECT_EQ(note.object<FilesImporter>(), importer.get());
                    EXPECT_EQ(note.userInfo(), nullptr);
                    log.push_back(text + std::string(", jobs ") +
                                  std::to_string(importer->operationsCount()));
                    if (!importer->isImporting())
                        RunLoop::main().stop();
                }));
    }
    ~FilesImporterTests() override
    {
        for (const auto& token : tokens)
            center.removeObserver(token);
    }

    // Serves the main queue until no job is left.
    void finish() { ASSERT_TRUE(RunLoop::main().runFor(TimeInterval(60))) << "the import did not end"; }

    std::vector<std::string> log;
    NotificationCenter& center = NotificationCenter::defaultCenter();
    std::shared_ptr<Recorder> delegate = std::make_shared<Recorder>(log);
    std::unique_ptr<FilesImporter> importer = std::make_unique<FilesImporter>(DispatchQoS::userInitiated);
    std::vector<std::shared_ptr<NotificationObserver>> tokens;
};

TEST_F(FilesImporterTests, AJobIsReportedToTheDelegateFirstAndThenToTheCentre)
{
    EXPECT_EQ(FilesImporter::willImportNotification.text(), "FilesImporterWillImportNotification");
    EXPECT_EQ(FilesImporter::didImportNotification.text(), "FilesImporterDidImportNotification");
    EXPECT_EQ(importer->progress(), 1.0);
    importer->importInBackground(files(20));
    EXPECT_TRUE(importer->isImporting());
    EXPECT_THAT(log, ElementsAre("will import 20", "will note, jobs 1"));
    finish();
    EXPECT_THAT(log, ElementsAre("will import 20", "will note, jobs 1", "did import 20 items",
                                 "did import 20 URLs", "did note, jobs 0"));
    EXPECT_EQ(delegate->items, delegate->urls);
    std::vector<double> steps{0.0};
    for (int done = 1; done <= 20; ++done)
        steps.push_back(done / 20.0);
    steps.push_back(1.0);
    EXPECT_EQ(delegate->progress, steps);
    EXPECT_EQ(importer->importationsCount(), 0);
    EXPECT_EQ(importer->importationsDone(), 0);
    EXPECT_EQ(importer->progress(), 1.0);
}

TEST_F(FilesImporterTests, AnEmptyListDoesNothing)
{
    importer->importInBackground({});
    EXPECT_EQ(importer->operationsCount(), 0);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(FilesImporterTests, TheSecondJobStartsAfterTheFirstIsReported)
{
    delegate->make = [&](const URL&) {
        DispatchQueue::main().sync([&] {
            if (log.back() != "item")
                log.emplace_back("item");
        });
        return std::any(std::string());
    };
    importer->importInBackground(files(3));
    importer->importInBackground(files(2));
    EXPECT_EQ(importer->operationsCount(), 2);
    finish();
    EXPECT_THAT(log, ElementsAre("will import 3", "will note, jobs 1", "will import 2", "will note, jobs 2",
                                 "item", "did import 3 items", "did import 3 URLs", "did note, jobs 1",
                                 "item", "did import 2 items", "did import 2 URLs", "did note, jobs 0"));
}

TEST_F(FilesImporterTests, TheDelegateNarrowsWhatIsImported)
{
    delegate->narrow = [](std::vector<URL> urls) { return std::vector<URL>{urls.at(1), urls.at(2)}; };
    importer->importInBackground(files(5));
    finish();
    EXPECT_THAT(delegate->urls, UnorderedElementsAreArray({"1", "2"}));
    delegate->narrow = [](const std::vector<URL>&) { return std::vector<URL>(); };
    delegate->progress.clear();
    importer->importInBackground(files(5));
    finish();
    EXPECT_EQ(log.back(), "did note, jobs 0");
    EXPECT_THAT(delegate->progress, ElementsAre(1.0, 1.0));
}

TEST_F(FilesImporterTests, AFileThatGivesNoneOrThrowsIsLeftOut)
{
    delegate->make = [](const URL& url) -> std::any {
        if (url.lastPathComponent() == "1")
            return {};
        if (url.lastPathComponent() == "2")
            throw std::runtime_error("unreadable");
        return url.lastPathComponent();
    };
    importer->importInBackground(files(4));
    finish();
    EXPECT_THAT(delegate->items, UnorderedElementsAreArray({"0", "3"}));
    EXPECT_EQ(delegate->items, delegate->urls);
    EXPECT_EQ(delegate->progress.size(), 6U);
}

TEST_F(FilesImporterTests, WithoutADelegateNothingIsImportedButTheJobIsReported)
{
    EXPECT_TRUE(importer->mayImport(files(1)));
    delegate->mayImport = false;
    EXPECT_FALSE(importer->mayImport(files(1)));
    delegate.reset();
    EXPECT_EQ(importer->delegate(), nullptr);
    EXPECT_FALSE(importer->mayImport(files(1)));
    importer->importInBackground(files(3));
    finish();
    EXPECT_THAT(log, ElementsAre("will note, jobs 1", "did note, jobs 0"));
    EXPECT_EQ(importer->importationsCount(), 0);
    EXPECT_EQ(importer->importationsDone(), 0);
}

TEST_F(FilesImporterTests, AnImporterDestroyedDuringAJobIsHeardOfNoMore)
{
    std::atomic<int> made{0};
    DispatchSemaphore started(0);
    DispatchSemaphore goOn(0);
    delegate->make = [&](const URL&) {
        ++made;
        started.signal();
        goOn.wait();
        return std::any(std::string());
    };
    importer->importInBackground(files(100));
    importer->importInBackground(files(100));
    std::thread destroyer([&] {
        started.wait(); // an item is being made
        DispatchQueue::main().sync([&] {
            log.clear();
            delegate->progress.clear();
            importer.reset();
        });
        for (int i = 0; i < 8; ++i)
            goOn.signal();
        RunLoop::main().stop();
    });
    finish();
    destroyer.join();
    // The batch goes on to its end: its last report is a block of the main queue.
    while (delegate.use_count() > 1)
        RunLoop::main().runFor(TimeInterval(0.001));
    EXPECT_LE(made, 8);
    EXPECT_THAT(log, IsEmpty());
    EXPECT_THAT(delegate->progress, IsEmpty());
    // Nothing of this test may run after it.
    bool drained = false;
    DispatchQueue::main().async([&] { drained = true; });
    while (!drained)
        RunLoop::main().drain();
}

TEST_F(FilesImporterTests, ADelegateMayDestroyTheImporterThatTellsIt)
{
    delegate->willImport = [&] { importer.reset(); };
    FilesImporter* const dying = importer.get();
    dying->importInBackground(files(2));
    EXPECT_THAT(log, ElementsAre("will import 2"));
}

} // namespace
} // namespace corvane
