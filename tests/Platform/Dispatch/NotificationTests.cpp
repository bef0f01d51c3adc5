// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/Notification.h>

#include <gtest/gtest.h>

#include <string>

namespace corvane {
namespace {

struct Base {};
struct Derived : Base {};

TEST(NotificationTests, NamesOfEqualTextAreOne)
{
    const std::string text = "NotificationTestsName";
    const NotificationName name(text);
    EXPECT_EQ(name, NotificationName("NotificationTestsName"));
    EXPECT_NE(name, NotificationName("NotificationTestsname"));
    EXPECT_EQ(name.text(), text);
    EXPECT_EQ(std::hash<NotificationName>()(name), std::hash<NotificationName>()(NotificationName(text)));
}

TEST(NotificationTests, TheSenderIsGivenAsTheTypeItWasPostedAs)
{
    Derived derived;
    const NotificationName name("NotificationTestsName");
    const Notification note(name, &derived);
    EXPECT_EQ(note.sender(), &derived);
    EXPECT_EQ(note.object<Derived>(), &derived);
    EXPECT_EQ(note.object<const Derived>(), &derived);
    EXPECT_EQ(note.object<Base>(), nullptr);

    const Notification constant(name, static_cast<const Derived*>(&derived));
    EXPECT_EQ(constant.object<const Derived>(), &derived);
    EXPECT_EQ(constant.object<Derived>(), nullptr);

    const Notification anonymous(name, nullptr);
    EXPECT_EQ(anonymous.sender(), nullptr);
    EXPECT_EQ(anonymous.object<Derived>(), nullptr);
}

TEST(NotificationTests, UserInformationIsReadByKeyAndExactType)
{
    UserInfo info{{"count", Int{3}}, {"text", std::string("a")}};
    info.set("text", std::string("b"));
    const Notification note(NotificationName("NotificationTestsName"), nullptr,
                            std::make_shared<UserInfo>(info));
    EXPECT_EQ(note.userInfo()->size(), 2U);
    ASSERT_NE(note.value<Int>("count"), nullptr);
    EXPECT_EQ(*note.value<Int>("count"), 3);
    EXPECT_EQ(*note.value<std::string>("text"), "b");
    EXPECT_EQ(note.value<int>("count"), nullptr);
    EXPECT_EQ(note.value<Int>("missing"), nullptr);

    const Notification without(NotificationName("NotificationTestsName"), nullptr);
    EXPECT_EQ(without.userInfo(), nullptr);
    EXPECT_EQ(without.value<Int>("count"), nullptr);
}

} // namespace
} // namespace corvane
