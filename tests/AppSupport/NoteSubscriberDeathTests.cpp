// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/NoteSubscriber.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(NoteSubscriberDeathTests, SubscribingTwiceOrToNothingStopsTheProcess)
{
    const auto handler = [](int&, const Notification&) {};
    const auto target = std::make_shared<int>(0);
    NoteSubscriber subscriber;
    EXPECT_DEATH(subscriber.subscribe(target, handler), "Fatal error: Notification name has not been set\\.");
    subscriber.name = NotificationName("NoteSubscriberDeathTestsNotification");
    subscriber.subscribe(target, handler);
    EXPECT_DEATH(subscriber.subscribe(target, handler), "Fatal error: Subcriber is already observing\\.");
    subscriber.name.reset(); // the other mistake comes first all the same
    EXPECT_DEATH(subscriber.subscribe(target, handler), "Fatal error: Subcriber is already observing\\.");
}

} // namespace
} // namespace corvane
