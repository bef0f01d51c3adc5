// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/NoteSubscriber.h>
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
using Calls = std::vector<std::string>;

class NoteSubscriberTests : public ::testing::Test {
protected:
    NoteSubscriberTests() { subscriber_.name = name_; }

    void post(const void* sender = nullptr) { center_.post(name_, NotificationSender(sender)); }

    static void note(Calls& calls, const Notification&) { calls.push_back("called"); }

    const NotificationName name_{"NoteSubscriberTestsNotification"};
    NotificationCenter center_;
    NoteSubscriber subscriber_{center_};
    std::shared_ptr<Calls> target_ = std::make_shared<Calls>();
};

TEST_F(NoteSubscriberTests, CallsTheHandlerUntilUnsubscribed)
{
    subscriber_.unsubscribe(); // nothing to do yet
    subscriber_.subscribe(target_, [this](Calls& calls, const Notification& received) {
        EXPECT_EQ(&calls, target_.get());
        EXPECT_EQ(received.name(), name_);
        calls.push_back(*received.value<std::string>("key"));
    });
    center_.post(name_, nullptr, {{"key", std::string("a")}});
    center_.post(NotificationName("NoteSubscriberTestsOther"));
    center_.post(name_, nullptr, {{"key", std::string("b")}});
    subscriber_.unsubscribe();
    post();
    subscriber_.unsubscribe();
    EXPECT_THAT(*target_, ElementsAre("a", "b"));

    subscriber_.subscribe(target_, note);
    post();
    EXPECT_THAT(*target_, ElementsAre("a", "b", "called"));
}

TEST_F(NoteSubscriberTests, ObservesOneSenderOrAny)
{
    auto sender = std::make_shared<int>(1);
    const int other = 2;
    subscriber_.object = sender;
    subscriber_.subscribe(target_, note);
    post(&other);
    EXPECT_EQ(target_->size(), 0U);
    post(sender.get());
    EXPECT_EQ(target_->size(), 1U);

    subscriber_.unsubscribe();
    sender.reset(); // gone before the subscription: anybody's
    subscriber_.subscribe(target_, note);
    post(&other);
    post();
    EXPECT_EQ(target_->size(), 3U);
}

TEST_F(NoteSubscriberTests, DoesNotKeepTheTarget)
{
    int calls = 0;
    subscriber_.subscribe(target_, [&](Calls&, const Notification&) {
        target_.reset(); // still there until this call ends
        ++calls;
    });
    const std::weak_ptr<Calls> watched = target_;
    post();
    EXPECT_TRUE(watched.expired());
    post();
    EXPECT_EQ(calls, 1);
}

TEST_F(NoteSubscriberTests, ATargetReleasedDuringThePostIsNotCalled)
{
    int calls = 0;
    const auto releasing = center_.addObserver(name_, [&](const Notification&) { target_.reset(); });
    subscriber_.subscribe(target_, [&](Calls&, const Notification&) { ++calls; });
    post();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(target_, nullptr);
}

TEST_F(NoteSubscriberTests, TheHandlerMayUnsubscribeAndDestroyTheSubscriber)
{
    subscriber_.subscribe(target_, [this](Calls& calls, const Notification&) {
        calls.push_back("first");
        subscriber_.unsubscribe();
        subscriber_.subscribe(target_, note); // not called by the running post
    });
    post();
    EXPECT_THAT(*target_, ElementsAre("first"));
    post();
    EXPECT_THAT(*target_, ElementsAre("first", "called"));

    auto brief = std::make_unique<NoteSubscriber>(center_);
    brief->name = name_;
    brief->subscribe(target_, [&](Calls& calls, const Notification&) {
        brief.reset();
        calls.push_back("last");
    });
    subscriber_.unsubscribe();
    post();
    post();
    EXPECT_THAT(*target_, ElementsAre("first", "called", "last"));
}

TEST_F(NoteSubscriberTests, DestroyingItUnsubscribes)
{
    {
        NoteSubscriber brief(center_);
        brief.name = name_;
        brief.subscribe(target_, note);
    }
    post();
    EXPECT_TRUE(target_->empty());

    NotificationCenter passing;
    {
        auto gone = std::make_unique<NotificationCenter>();
        NoteSubscriber left(*gone);
        left.name = name_;
        left.subscribe(target_, note);
        gone.reset(); // took its observers with it; nothing is left to remove
    }
}

TEST_F(NoteSubscriberTests, DeliversOnAnOperationQueue)
{
    const tests::Watchdog watchdog(std::chrono::seconds(60));
    subscriber_.queue.emplace();
    subscriber_.queue->setMaxConcurrentOperationCount(0);
    subscriber_.subscribe(target_, [main = std::this_thread::get_id()](Calls& calls, const Notification&) {
        EXPECT_NE(std::this_thread::get_id(), main);
        calls.push_back("called");
    });
    post();
    EXPECT_TRUE(target_->empty()); // later, and there
    subscriber_.queue->setMaxConcurrentOperationCount(1);
    subscriber_.queue->waitUntilAllOperationsAreFinished();
    EXPECT_THAT(*target_, ElementsAre("called"));

    subscriber_.queue->setMaxConcurrentOperationCount(0);
    post();
    subscriber_.unsubscribe(); // before its turn on the queue
    subscriber_.queue->setMaxConcurrentOperationCount(1);
    subscriber_.queue->waitUntilAllOperationsAreFinished();
    EXPECT_THAT(*target_, ElementsAre("called"));
}

TEST_F(NoteSubscriberTests, DeliversOnTheMainThread)
{
    subscriber_.queue = OperationQueue::main();
    subscriber_.subscribe(target_, [main = std::this_thread::get_id()](Calls& calls, const Notification&) {
        EXPECT_EQ(std::this_thread::get_id(), main);
        calls.push_back("called");
    });
    std::jthread([this] { post(); }).join();
    EXPECT_TRUE(target_->empty());
    EXPECT_TRUE(tests::serveMainLoopUntil([this] { return target_->size() == 1; }));
}

} // namespace
} // namespace corvane
