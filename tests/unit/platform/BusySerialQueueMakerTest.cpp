#include "platform/BusySerialQueueMaker.h"

#include "platform/ThreadSerialQueue.h"
#include "support/FakeDispatchQueue.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

class BusySerialQueueMakerTest : public ::testing::Test {
protected:
    BusySerialQueueMakerTest() {
        maker.setBusyHandler([this](bool busy) { told.push_back(busy); });
        queue = maker.makeSerialQueue("work");
    }

    test::FakeMainQueue mainQueue;
    test::FakeSerialQueueMaker fakes;
    platform::BusySerialQueueMaker maker{fakes, mainQueue};
    std::unique_ptr<platform::DispatchQueue> queue;
    std::vector<bool> told;
};

TEST_F(BusySerialQueueMakerTest, HandsLabelAndTasksOn) {
    EXPECT_EQ(fakes.made().back().label, "work");
    std::string ran;
    queue->async([&] { ran += "1"; });
    queue->async([&] { ran += "2"; });
    EXPECT_EQ(ran, "");
    EXPECT_EQ(fakes.last().drain(), 2U);
    EXPECT_EQ(ran, "12");
}

TEST_F(BusySerialQueueMakerTest, IsBusyAtOnceAndTellsOnTheMainQueue) {
    EXPECT_FALSE(maker.isBusy());
    queue->async([] {});
    EXPECT_TRUE(maker.isBusy());
    EXPECT_TRUE(told.empty()) << "only on the main queue";
    mainQueue.drain();
    EXPECT_EQ(told, std::vector{true});
}

TEST_F(BusySerialQueueMakerTest, IsBusyUntilWhatTheTaskHasPutOnTheMainQueueHasRun) {
    bool busyMeanwhile = false;
    queue->async([&] { mainQueue.async([&] { busyMeanwhile = maker.isBusy(); }); });
    mainQueue.drain();
    fakes.last().drain();
    EXPECT_TRUE(maker.isBusy());
    mainQueue.drain();
    EXPECT_TRUE(busyMeanwhile);
    EXPECT_FALSE(maker.isBusy());
    EXPECT_EQ(told, (std::vector{true, false}));
}

TEST_F(BusySerialQueueMakerTest, ATaskThatPutsTheNextLeavesNoGap) {
    queue->async([this] { queue->async([] {}); });
    mainQueue.drain();
    EXPECT_TRUE(fakes.last().runNext());
    mainQueue.drain();
    EXPECT_TRUE(maker.isBusy());
    EXPECT_EQ(told, std::vector{true});
    EXPECT_TRUE(fakes.last().runNext());
    mainQueue.drain();
    EXPECT_FALSE(maker.isBusy());
    EXPECT_EQ(told, (std::vector{true, false}));
    queue->async([] {});
    mainQueue.drain();
    EXPECT_EQ(told, (std::vector{true, false, true}));
}

TEST_F(BusySerialQueueMakerTest, WhatATaskHeldIsLetGoBeforeItHasEnded) {
    bool busyMeanwhile = false;
    int value = 0;
    std::shared_ptr<int> held(&value, [&](int*) { mainQueue.async([&] { busyMeanwhile = maker.isBusy(); }); });
    queue->async([held = std::move(held)] {});
    fakes.last().drain();
    mainQueue.drain();
    EXPECT_TRUE(busyMeanwhile);
}

TEST_F(BusySerialQueueMakerTest, WhatATaskHasBegunKeepsItBusyAfterTheTask) {
    queue->async([this] { maker.beginWork(); });
    fakes.last().drain();
    mainQueue.drain();
    EXPECT_TRUE(maker.isBusy());
    EXPECT_EQ(told, std::vector{true});
    maker.endWork();
    EXPECT_FALSE(maker.isBusy());
    EXPECT_EQ(told, (std::vector{true, false}));
}

TEST_F(BusySerialQueueMakerTest, WorkOutsideAnyTaskMakesItBusy) {
    maker.beginWork();
    EXPECT_TRUE(maker.isBusy());
    mainQueue.drain();
    EXPECT_EQ(told, std::vector{true});
}

TEST_F(BusySerialQueueMakerTest, WithoutAHandlerItStillKnows) {
    maker.setBusyHandler(nullptr);
    queue->async([] {});
    fakes.last().drain();
    mainQueue.drain();
    EXPECT_FALSE(maker.isBusy());
}

TEST(BusySerialQueueMakerOnThreadsTest, CountsTasksOfEveryThread) {
    test::FakeMainQueue mainQueue;
    platform::ThreadSerialQueueMaker threads;
    platform::BusySerialQueueMaker maker(threads, mainQueue);
    std::vector<bool> told;
    maker.setBusyHandler([&](bool busy) { told.push_back(busy); });
    {
        // The first one created is the last one destroyed.
        const auto two = maker.makeSerialQueue("two");
        const auto one = maker.makeSerialQueue("one");
        for (int index = 0; index < 500; ++index) {
            one->async([&] { two->async([] {}); });
        }
    }
    mainQueue.drain();
    EXPECT_FALSE(maker.isBusy());
    EXPECT_EQ(told, (std::vector{true, false}));
}

}  // namespace
