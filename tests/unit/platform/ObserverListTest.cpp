#include "platform/ObserverList.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

struct Notice {
    std::string name;
};

class ObserverListTest : public testing::Test {
protected:
    void observe(const void* observer, const std::string& name, const std::string& text) {
        observers.add(observer, name, [this, text](const Notice&) { calls.push_back(text); });
    }

    platform::ObserverList<Notice> observers;
    std::vector<std::string> calls;
    const int one = 1;
    const int two = 2;
};

using Calls = std::vector<std::string>;

TEST_F(ObserverListTest, CallsTheObserversOfTheNameInTheOrderInWhichTheyWereAdded) {
    observe(&two, "a", "second first");
    observe(&one, "b", "another name");
    observe(&one, "a", "then the other");
    observe(&two, "a", "then again");
    observers.call({"a"});
    EXPECT_EQ(calls, (Calls{"second first", "then the other", "then again"}));
}

TEST_F(ObserverListTest, ARemovedObserverIsNotCalledUnderAnyName) {
    observe(&one, "a", "removed");
    observe(&one, "b", "removed");
    observe(&two, "a", "stays");
    observers.remove(&one);
    observers.call({"a"});
    observers.call({"b"});
    EXPECT_EQ(calls, Calls{"stays"});
}

TEST_F(ObserverListTest, AnObserverRemovedDuringACallIsNotCalledByIt) {
    observers.add(&one, "a", [this](const Notice&) { observers.remove(&two); });
    observe(&two, "a", "removed");
    observers.call({"a"});
    EXPECT_EQ(calls, Calls{});
}

TEST_F(ObserverListTest, AnObserverThatRemovesItselfKeepsItsCallbackUntilItHasReturned) {
    const std::string text(100, 'x');
    observers.add(&one, "a", [this, text](const Notice&) {
        observers.remove(&one);
        calls.push_back(text);
    });
    observers.call({"a"});
    observers.call({"a"});
    EXPECT_EQ(calls, Calls{text});
}

TEST_F(ObserverListTest, AnObserverAddedDuringACallGetsTheNextNotification) {
    observers.add(&one, "a", [this](const Notice&) { observe(&two, "a", "added"); });
    observers.call({"a"});
    EXPECT_EQ(calls, Calls{});
    observers.call({"a"});
    EXPECT_EQ(calls, Calls{"added"});
}

}  // namespace
