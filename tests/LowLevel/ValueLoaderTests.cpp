// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/ValueLoader.h>
#include <tests/Support/MainLoop.h>
#include <tests/Support/Watchdog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::Optional;
using tests::serveMainLoopUntil;

using Loader = ValueLoader<std::string>;
using State = Loader::State;

class ValueLoaderTests : public ::testing::Test {
protected:
    std::function<std::optional<std::string>()> load()
    {
        return [this]() -> std::optional<std::string> {
            ++loads_;
            if (absent_)
                return std::nullopt;
            return "value";
        };
    }
    Block note(const std::string& call)
    {
        return [this, call] { calls_.push_back(call); };
    }
    // Everything that was sent to the main queue so far has run.
    void serveMainQueue()
    {
        bool served = false;
        DispatchQueue::main().async([&] { served = true; });
        ASSERT_TRUE(serveMainLoopUntil([&] { return served; }));
    }
    bool serveUntilLoaded()
    {
        return serveMainLoopUntil([this] { return loader_->state() == State::isLoaded; });
    }

    const tests::Watchdog watchdog_{std::chrono::seconds(60)};
    std::atomic<int> loads_ = 0;
    bool absent_ = false;
    std::vector<std::string> calls_;
    OperationQueue queue_;
    std::unique_ptr<Loader> loader_ = std::make_unique<Loader>(queue_, load());
};

TEST_F(ValueLoaderTests, OneLoadServesEveryRequestInOrder)
{
    EXPECT_EQ(loader_->state(), State::isNotLoaded);
    EXPECT_EQ(loader_->value(), std::nullopt);
    const auto first = loader_->request(note("a"));
    const auto second = loader_->request();
    const auto third = loader_->request(note("c"));
    EXPECT_EQ(loader_->state(), State::isLoading);
    EXPECT_THAT(first->index(), Optional(0));
    EXPECT_THAT(third->index(), Optional(2));

    ASSERT_TRUE(serveUntilLoaded());
    EXPECT_EQ(loads_, 1);
    EXPECT_THAT(calls_, ElementsAre("a", "c"));
    EXPECT_EQ(third->index(), std::nullopt);
    EXPECT_THAT(loader_->value(), Optional(std::string("value")));
    EXPECT_THAT(second->wait(), Optional(std::string("value")));

    EXPECT_EQ(loader_->request(note("late")), nullptr);
    EXPECT_THAT(calls_, ElementsAre("a", "c", "late"));
}

TEST_F(ValueLoaderTests, ALoadWithoutValueEndsTheRequestsToo)
{
    absent_ = true;
    const auto request = loader_->request(note("a"));
    ASSERT_TRUE(serveUntilLoaded());
    EXPECT_EQ(loader_->value(), std::nullopt);
    EXPECT_EQ(request->wait(), std::nullopt);
    EXPECT_THAT(calls_, ElementsAre("a"));
    EXPECT_EQ(loader_->request(), nullptr);
    EXPECT_EQ(loads_, 1);
}

TEST_F(ValueLoaderTests, WithoutARequestLeftThereIsNoLoad)
{
    queue_.setMaxConcurrentOperationCount(0);
    const auto request = loader_->request(note("never"));
    request->cancel();
    request->cancel();
    EXPECT_THAT(request->index(), Optional(0)); // withdrawn on the main queue only
    serveMainQueue();
    EXPECT_EQ(request->index(), std::nullopt);
    EXPECT_EQ(request->wait(), std::nullopt); // at once, with the value of now
    EXPECT_EQ(loader_->state(), State::isLoading);

    queue_.setMaxConcurrentOperationCount(1);
    ASSERT_TRUE(serveMainLoopUntil([&] { return loader_->state() == State::isNotLoaded; }));
    EXPECT_EQ(loads_, 0);
    EXPECT_TRUE(calls_.empty());

    loader_->request(note("b"));
    ASSERT_TRUE(serveUntilLoaded());
    EXPECT_EQ(loads_, 1);
    EXPECT_THAT(calls_, ElementsAre("b"));
    EXPECT_THAT(request->wait(), Optional(std::string("value")));
    request->cancel(); // ended long ago
}

TEST_F(ValueLoaderTests, ACancelledRequestLeavesTheOthers)
{
    queue_.setMaxConcurrentOperationCount(0);
    const auto request = loader_->request(note("a"));
    loader_->request(note("b"));
    request->cancel();
    serveMainQueue();
    queue_.setMaxConcurrentOperationCount(1);
    ASSERT_TRUE(serveUntilLoaded());
    EXPECT_THAT(calls_, ElementsAre("b"));
}

TEST_F(ValueLoaderTests, ACompletionMayRequestCancelAndDestroyTheLoader)
{
    std::shared_ptr<ValueRequest<std::string>> last;
    loader_->request([&] {
        calls_.push_back("a");
        EXPECT_EQ(loader_->request(note("inside a")), nullptr);
        last->cancel(); // too late: the main queue is busy completing it
    });
    loader_->request([&] {
        calls_.push_back("b " + *loader_->value());
        loader_.reset();
    });
    last = loader_->request(note("c"));
    ASSERT_TRUE(serveMainLoopUntil([&] { return calls_.size() == 4; }));
    EXPECT_THAT(calls_, ElementsAre("a", "inside a", "b value", "c"));
    queue_.waitUntilAllOperationsAreFinished();
    serveMainQueue();
    EXPECT_EQ(last->wait(), std::nullopt); // the loader has gone
}

TEST_F(ValueLoaderTests, AnyNumberOfThreadsMayWait)
{
    const auto request = loader_->request();
    const auto other = loader_->request();
    std::atomic<int> got = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([&, waiting = thread % 2 == 0 ? request : other] {
            EXPECT_THAT(waiting->wait(), Optional(std::string("value")));
            ++got;
        });
    EXPECT_TRUE(serveMainLoopUntil([&] { return got == 8; }));
}

TEST_F(ValueLoaderTests, ACancelReleasesThoseWhoWait)
{
    queue_.setMaxConcurrentOperationCount(0);
    const auto request = loader_->request();
    std::atomic<int> released = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&] {
            EXPECT_EQ(request->wait(), std::nullopt);
            ++released;
        });
    request->cancel();
    EXPECT_TRUE(serveMainLoopUntil([&] { return released == 4; }));
    queue_.setMaxConcurrentOperationCount(1);
    EXPECT_TRUE(serveMainLoopUntil([&] { return queue_.operationCount() == 0; }));
}

TEST_F(ValueLoaderTests, TheLoaderMayGoWhileItLoads)
{
    const auto request = loader_->request(note("a"));
    loader_.reset();
    std::optional<std::string> waited;
    std::atomic<bool> done = false;
    const std::jthread waiting([&] {
        waited = request->wait();
        done = true;
    });
    ASSERT_TRUE(serveMainLoopUntil([&] { return done && !calls_.empty(); }));
    EXPECT_EQ(loads_, 1);
    EXPECT_THAT(calls_, ElementsAre("a"));
    EXPECT_TRUE(waited == "value" ||
                waited == std::nullopt); // it may have gone before the thread began to wait
}

} // namespace
} // namespace corvane
