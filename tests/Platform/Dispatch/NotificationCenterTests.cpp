// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/NotificationCenter.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using testing::ElementsAre;

const NotificationName ping("NotificationCenterTestsPing");
const NotificationName pong("NotificationCenterTestsPong");

struct NotificationCenterTests : testing::Test {
    NotificationCenter center;
    std::vector<std::string> calls;

    auto observe(std::string label, NotificationName name = ping, const void* sender = nullptr)
    {
        return center.addObserver(name, sender,
                                  [this, label](const Notification&) { calls.push_back(label); });
    }
};

TEST_F(NotificationCenterTests, ObserversAreCalledInTheOrderTheyWereAddedByNameAndSender)
{
    int here = 0;
    int there = 0;
    observe("any");
    observe("here", ping, &here);
    observe("there", ping, &there);
    observe("pong", pong);
    observe("last");
    center.post(ping, &here);
    EXPECT_THAT(calls, ElementsAre("any", "here", "last"));
    calls.clear();
    center.post(ping);
    EXPECT_THAT(calls, ElementsAre("any", "last"));
    calls.clear();
    center.post(pong, &there);
    EXPECT_THAT(calls, ElementsAre("pong"));
}

TEST_F(NotificationCenterTests, TheHandlerRunsOnThePostingThreadWithWhatWasPosted)
{
    int sender = 0;
    std::thread::id thread;
    center.addObserver(ping, [&](const Notification& note) {
        thread = std::this_thread::get_id();
        EXPECT_EQ(note.name(), ping);
        EXPECT_EQ(note.object<int>(), &sender);
        EXPECT_EQ(*note.value<int>("key"), 7);
    });
    std::thread::id poster;
    std::thread([&] {
        poster = std::this_thread::get_id();
        center.post(ping, &sender, {{"key", 7}});
    }).join();
    EXPECT_EQ(thread, poster);
}

TEST_F(NotificationCenterTests, UserInformationIsMadeOnlyForAnObservedName)
{
    int made = 0;
    const auto info = [&] {
        ++made;
        return UserInfo{{"key", made}};
    };
    center.post(ping, nullptr, info);
    EXPECT_EQ(made, 0);
    const auto token =
        center.addObserver(ping, [](const Notification& note) { EXPECT_EQ(*note.value<int>("key"), 1); });
    center.post(ping, nullptr, info);
    EXPECT_EQ(made, 1);
    center.removeObserver(token);
    center.post(ping, nullptr, info);
    EXPECT_EQ(made, 1);
}

TEST_F(NotificationCenterTests, AnObserverRemovedDuringAPostIsNotCalledByIt)
{
    std::shared_ptr<NotificationObserver> own, earlier, later;
    earlier = observe("earlier");
    own = center.addObserver(ping, [&](const Notification&) {
        calls.emplace_back("remover");
        for (const auto& token : {earlier, own, later})
            center.removeObserver(token);
    });
    later = observe("later");
    observe("last");
    center.post(ping);
    EXPECT_THAT(calls, ElementsAre("earlier", "remover", "last"));
    calls.clear();
    center.post(ping);
    EXPECT_THAT(calls, ElementsAre("last"));
}

TEST_F(NotificationCenterTests, AnObserverAddedDuringAPostIsCalledFromTheNextOn)
{
    int added = 0;
    center.addObserver(ping, [&](const Notification&) {
        calls.emplace_back("adder");
        if (++added <= 2) {
            observe("added " + std::to_string(added));
            if (added == 1)
                center.post(ping); // this one does call what was added before it
        }
    });
    center.post(ping);
    EXPECT_THAT(calls, ElementsAre("adder", "adder", "added 1"));
    calls.clear();
    center.post(ping);
    EXPECT_THAT(calls, ElementsAre("adder", "added 1", "added 2"));
}

TEST_F(NotificationCenterTests, TheCentreKeepsTheTokenAndTheHandlerUntilTheObserverIsRemoved)
{
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> capturedWeakly = captured;
    const std::weak_ptr<NotificationObserver> token =
        center.addObserver(ping, [captured = std::move(captured)](const Notification&) {});
    EXPECT_FALSE(token.expired());
    EXPECT_FALSE(capturedWeakly.expired());
    center.removeObserver(token.lock());
    EXPECT_TRUE(token.expired());
    EXPECT_TRUE(capturedWeakly.expired());
}

TEST_F(NotificationCenterTests, WhatAHandlerCapturedOutlivesTheCallThatRemovesIt)
{
    auto captured = std::make_shared<int>(5);
    const std::weak_ptr<int> capturedWeakly = captured;
    std::shared_ptr<NotificationObserver> token;
    token = center.addObserver(ping, [&, captured = std::move(captured)](const Notification&) {
        center.removeObserver(token);
        EXPECT_FALSE(capturedWeakly.expired());
        center.post(ping); // a nested post ends without destroying what the outer one still runs
        EXPECT_EQ(*captured, 5);
    });
    center.post(ping);
    EXPECT_TRUE(capturedWeakly.expired());
}

TEST_F(NotificationCenterTests, ADestructorOfWhatAHandlerCapturedMayUseTheCentre)
{
    const std::shared_ptr<NotificationObserver> other = observe("other");
    const std::shared_ptr<void> captured(nullptr, [&](void*) {
        center.removeObserver(other);
        observe("added");
        center.post(ping);
    });
    const auto token = center.addObserver(ping, [captured](const Notification&) {});
    const_cast<std::shared_ptr<void>&>(captured).reset();
    center.removeObserver(token);
    EXPECT_THAT(calls, ElementsAre("added"));
}

TEST_F(NotificationCenterTests, RemovingWhatIsNotObservedHereDoesNothing)
{
    NotificationCenter other;
    const auto token = observe("here");
    other.removeObserver(token);
    center.removeObserver(nullptr);
    center.post(ping);
    EXPECT_THAT(calls, ElementsAre("here"));
    center.removeObserver(token);
    center.removeObserver(token);
    center.post(ping);
    EXPECT_THAT(calls, ElementsAre("here"));
}

TEST_F(NotificationCenterTests, AnExceptionLeavesThroughThePostAndTheCentreGoesOn)
{
    const auto thrower =
        center.addObserver(ping, [](const Notification&) { throw std::runtime_error("from a handler"); });
    observe("last");
    EXPECT_THROW(center.post(ping), std::runtime_error);
    EXPECT_TRUE(calls.empty());
    center.removeObserver(thrower);
    center.post(ping);
    EXPECT_THAT(calls, ElementsAre("last"));
}

TEST_F(NotificationCenterTests, CentresAreSeparateAndEndWithTheirObservers)
{
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> capturedWeakly = captured;
    std::weak_ptr<NotificationObserver> token;
    {
        NotificationCenter other;
        token = other.addObserver(ping, [captured = std::move(captured)](const Notification&) { FAIL(); });
        observe("here");
        center.post(ping);
    }
    EXPECT_TRUE(token.expired());
    EXPECT_TRUE(capturedWeakly.expired());
    NotificationCenter successor;
    successor.post(ping);
    EXPECT_THAT(calls, ElementsAre("here"));
    successor.addObserver(ping, [&](const Notification&) { calls.emplace_back("successor"); });
    successor.post(ping);
    EXPECT_THAT(calls, ElementsAre("here", "successor"));
}

TEST_F(NotificationCenterTests, AnObserverWithAQueueIsCalledThereUnlessItIsRemovedFirst)
{
    const OperationQueue queue;
    queue.setMaxConcurrentOperationCount(0); // nothing starts yet
    std::thread::id thread;
    std::atomic<int> keptCalls{0};
    std::atomic<int> removedCalls{0};
    int sender = 0;
    center.addObserver(ping, &sender, queue, [&](const Notification& note) {
        thread = std::this_thread::get_id();
        keptCalls += *note.value<int>("key");
    });
    const auto removed =
        center.addObserver(ping, nullptr, queue, [&](const Notification&) { ++removedCalls; });
    center.post(ping, &sender, {{"key", 5}});
    center.post(ping, nullptr, {{"key", 7}});
    center.removeObserver(removed);
    EXPECT_EQ(keptCalls, 0);
    queue.setMaxConcurrentOperationCount(1);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(keptCalls, 5);
    EXPECT_EQ(removedCalls, 0);
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_F(NotificationCenterTests, TheDefaultCentreIsOne)
{
    EXPECT_EQ(&NotificationCenter::defaultCenter(), &NotificationCenter::defaultCenter());
}

// Handlers add, remove and post at random. Each running post knows whom it may still call and in which order.
class Model {
public:
    explicit Model(unsigned seed) : random_(seed) {}

    void run()
    {
        for (int step = 0; step < 400; ++step)
            act();
        EXPECT_GT(called_, 400);
    }

private:
    struct Observer {
        std::shared_ptr<NotificationObserver> token;
        const void* sender;
    };
    struct Post {
        const void* sender;
        std::vector<int> waiting;
    };

    void act()
    {
        switch (random_() % 8) {
        case 0:
        case 1:
        case 2:
            return observers_.size() < 10 ? add() : remove(); // few, or nested posts multiply without bound
        case 3:
        case 4:
            return remove();
        default:
            if (posts_.size() < 4)
                post();
        }
    }

    const void* anySender() { return random_() % 3 == 0 ? &senders_[random_() % 2] : nullptr; }

    void add()
    {
        const int id = nextID_++;
        const void* const sender = anySender();
        observers_[id] = {center_.addObserver(ping, sender, [this, id](const Notification&) { call(id); }),
                          sender};
    }

    void remove()
    {
        if (observers_.empty())
            return;
        const auto gone = std::next(observers_.begin(), static_cast<Int>(random_() % observers_.size()));
        center_.removeObserver(gone->second.token);
        observers_.erase(gone);
    }

    void post()
    {
        const char* const sender = &senders_[random_() % 2];
        Post running{sender, {}};
        for (const auto& [id, observer] : observers_)
            if (!observer.sender || observer.sender == sender)
                running.waiting.push_back(id);
        posts_.push_back(std::move(running));
        center_.post(ping, sender);
        skipRemoved();
        EXPECT_TRUE(posts_.back().waiting.empty()) << "an observer was not called";
        posts_.pop_back();
    }

    void call(int id)
    {
        ++called_;
        skipRemoved();
        auto& waiting = posts_.back().waiting;
        ASSERT_FALSE(waiting.empty());
        EXPECT_EQ(waiting.front(), id);
        waiting.erase(waiting.begin());
        if (random_() % 4 == 0)
            act();
    }

    void skipRemoved()
    {
        auto& waiting = posts_.back().waiting;
        while (!waiting.empty() && !observers_.contains(waiting.front()))
            waiting.erase(waiting.begin());
    }

    std::mt19937 random_;
    NotificationCenter center_;
    std::map<int, Observer> observers_; // by age
    std::vector<Post> posts_;
    char senders_[2]{};
    int nextID_ = 0;
    int called_ = 0;
};

TEST(NotificationCenterModelTests, RandomChangesDuringPostsFollowTheModel)
{
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        Model(seed).run();
    }
}

// Threads post to one another's observers while each adds and removes its own; none may be called by a post
// of its own thread after it was removed, and all that handlers captured is destroyed in the end.
TEST(NotificationCenterStressTests, ThreadsPostAddAndRemoveAtTheSameTime)
{
    struct Life {
        explicit Life(std::atomic<int>& count) : count_(count) { ++count_; }
        ~Life() { --count_; }
        std::atomic<int>& count_;
    };
    NotificationCenter center;
    std::atomic<int> alive{0};
    std::atomic<std::uint64_t> calls{0};
    const auto work = [&](unsigned seed) {
        std::mt19937 random(seed);
        struct Mine {
            std::shared_ptr<NotificationObserver> token;
            std::shared_ptr<std::atomic<std::thread::id>> mayNotBeCalledBy;
        };
        std::vector<Mine> mine;
        for (int step = 0; step < 4000; ++step) {
            if (mine.size() < 8 && random() % 2 == 0) {
                auto gone = std::make_shared<std::atomic<std::thread::id>>();
                auto life = std::make_shared<Life>(alive);
                mine.push_back({center.addObserver(random() % 2 ? ping : pong,
                                                   [gone, life, &calls](const Notification&) {
                                                       EXPECT_NE(gone->load(), std::this_thread::get_id());
                                                       calls.fetch_add(1, std::memory_order_relaxed);
                                                   }),
                                gone});
            } else if (!mine.empty() && random() % 2 == 0) {
                const auto at = mine.begin() + static_cast<Int>(random() % mine.size());
                center.removeObserver(at->token);
                at->mayNotBeCalledBy->store(std::this_thread::get_id());
                mine.erase(at);
            }
            center.post(ping);
            center.post(pong);
        }
        for (const Mine& observer : mine)
            center.removeObserver(observer.token);
    };
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed)
        threads.emplace_back(work, seed);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(alive, 0);
    EXPECT_GT(calls, 4000U);
}

// A post that runs for long keeps only what it might still call, and hands it back when it ends.
TEST(NotificationCenterStressTests, WhatOneThreadRemovesUnderAnothersPostIsDestroyedWhenThatPostEnds)
{
    NotificationCenter center;
    std::atomic<int> stage{0};
    const auto await = [&](int wanted) {
        for (int now = stage; now < wanted; now = stage)
            stage.wait(now);
    };
    const auto reach = [&](int now) {
        stage = now;
        stage.notify_all();
    };
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> capturedWeakly = captured;
    center.addObserver(ping, [&](const Notification&) {
        reach(1);
        await(2);
    });
    const auto token =
        center.addObserver(ping, [captured = std::move(captured)](const Notification&) { FAIL(); });
    std::thread poster([&] { center.post(ping); });
    await(1);
    center.removeObserver(token);
    center.post(pong);
    EXPECT_FALSE(capturedWeakly.expired());
    reach(2);
    poster.join();
    EXPECT_TRUE(capturedWeakly.expired());
}

} // namespace
} // namespace corvane
