#include "platform/NotificationCenter.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using platform::Notification;
using platform::NotificationCenter;

class NotificationCenterTest : public testing::Test {
protected:
    NotificationCenter::Callback noting(const std::string& who) {
        return [this, who](const Notification&) { log.push_back(who); };
    }

    NotificationCenter center;
    std::vector<std::string> log;
    const int a = 0;
    const int b = 0;
};

TEST_F(NotificationCenterTest, TheNameOfTheWindowNoticeIsFixed) {
    EXPECT_STREQ(platform::WindowWillCloseNotification, "WindowWillCloseNotification");
}

TEST_F(NotificationCenterTest, CallsTheObserversOfTheNameInTheOrderOfRegistrationBeforeItReturns) {
    center.addObserver(&b, "n", noting("b"));
    center.addObserver(&a, "n", noting("a"));
    center.addObserver(&a, "other", noting("other"));
    center.post({"n"});
    EXPECT_EQ(log, (std::vector<std::string>{"b", "a"}));
}

TEST_F(NotificationCenterTest, PassesNameAndObjectOn) {
    Notification seen;
    center.addObserver(&a, "n", [&seen](const Notification& notification) { seen = notification; });
    center.post({"n", &b});
    EXPECT_EQ(seen.name, "n");
    EXPECT_EQ(seen.object, &b);
}

TEST_F(NotificationCenterTest, ADroppedObserverIsCalledNoMoreForAnyName) {
    center.addObserver(&a, "n", noting("a"));
    center.addObserver(&a, "m", noting("a"));
    center.addObserver(&b, "n", noting("b"));
    center.removeObserver(&a);
    center.post({"n"});
    center.post({"m"});
    EXPECT_EQ(log, std::vector<std::string>{"b"});
}

TEST_F(NotificationCenterTest, RegisteringTwiceDeliversTwice) {
    center.addObserver(&a, "n", noting("a"));
    center.addObserver(&a, "n", noting("a"));
    center.post({"n"});
    EXPECT_EQ(log.size(), 2U);
}

TEST_F(NotificationCenterTest, AnObserverDroppedByAnEarlierOneInTheSamePostIsNotCalled) {
    center.addObserver(&a, "n", [this](const Notification&) {
        log.emplace_back("a");
        center.removeObserver(&b);
    });
    center.addObserver(&b, "n", noting("b"));
    center.post({"n"});
    EXPECT_EQ(log, std::vector<std::string>{"a"});
}

TEST_F(NotificationCenterTest, AnObserverMayDropItself) {
    center.addObserver(&a, "n", [this](const Notification&) {
        log.emplace_back("a");
        center.removeObserver(&a);
    });
    center.addObserver(&b, "n", noting("b"));
    center.post({"n"});
    center.post({"n"});
    EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "b"}));
}

TEST_F(NotificationCenterTest, AnObserverAddedDuringAPostHearsOnlyTheNextOne) {
    bool added = false;
    center.addObserver(&a, "n", [&](const Notification&) {
        if (!added) {
            added = true;
            center.addObserver(&b, "n", noting("b"));
        }
    });
    center.post({"n"});
    EXPECT_TRUE(log.empty());
    center.post({"n"});
    EXPECT_EQ(log, std::vector<std::string>{"b"});
}

TEST_F(NotificationCenterTest, AnUnknownNameOrObserverIsNothing) {
    center.removeObserver(&a);
    center.post({"n"});
    EXPECT_TRUE(log.empty());
}

}  // namespace
