#include "platform/GatedSerialQueueMaker.h"

#include "support/FakeDispatchQueue.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

class GatedSerialQueueMakerTest : public testing::Test {
protected:
    GatedSerialQueueMakerTest() {
        queue = maker.makeSerialQueue("work");
        maker.setGate([this] { return isOpen; });
    }

    void put(const std::string& letter) {
        queue->async([this, letter] { ran += letter; });
    }

    test::FakeSerialQueueMaker fakes;
    platform::GatedSerialQueueMaker maker{fakes};
    std::unique_ptr<platform::DispatchQueue> queue;
    bool isOpen = true;
    std::string ran;
};

TEST_F(GatedSerialQueueMakerTest, AnOpenGateChangesNothing) {
    EXPECT_EQ(fakes.made().back().label, "work");
    put("a");
    put("b");
    EXPECT_EQ(ran, "");
    fakes.last().runNext();
    EXPECT_EQ(ran, "a");
    fakes.last().runNext();
    EXPECT_EQ(ran, "ab");
}

TEST_F(GatedSerialQueueMakerTest, WithoutAGateTasksRun) {
    platform::GatedSerialQueueMaker open(fakes);
    const auto other = open.makeSerialQueue("other");
    other->async([this] { ran = "ran"; });
    fakes.last().drain();
    EXPECT_EQ(ran, "ran");
}

TEST_F(GatedSerialQueueMakerTest, TasksWaitAtAClosedGateAndKeepTheirOrder) {
    isOpen = false;
    put("a");
    put("b");
    fakes.last().drain();
    EXPECT_EQ(ran, "");
    isOpen = true;
    put("c");
    fakes.last().drain();
    EXPECT_EQ(ran, "abc");
}

TEST_F(GatedSerialQueueMakerTest, ATaskThatClosesTheGateHoldsTheNextOneBack) {
    queue->async([this] {
        ran += "a";
        isOpen = false;
    });
    put("b");
    fakes.last().drain();
    EXPECT_EQ(ran, "a");
    isOpen = true;
    put("c");
    fakes.last().drain();
    EXPECT_EQ(ran, "abc");
}

TEST_F(GatedSerialQueueMakerTest, AGateThatOpensWhileATaskIsOnItsWayDoesNotReorder) {
    isOpen = false;
    put("a");
    put("b");
    fakes.last().runNext();
    isOpen = true;
    fakes.last().runNext();
    EXPECT_EQ(ran, "ab");
}

}  // namespace
