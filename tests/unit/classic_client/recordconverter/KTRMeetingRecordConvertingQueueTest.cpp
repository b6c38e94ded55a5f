/// The items of the queue: their order, their conversions and the reports about them.

#include "unit/classic_client/recordconverter/KTRMeetingRecordConvertingQueueTest.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using support::script;
using support::ScriptedMediaConverter;
using test::info;
using test::KTRMeetingRecordConvertingQueueTest;
using test::Log;

TEST_F(KTRMeetingRecordConvertingQueueTest, BeginsEmptyExpectingNothingWithoutAConverter) {
    EXPECT_EQ(trace.log(), Log{test::info("-[KTRMeetingRecordConvertingQueue init]: ")});
    EXPECT_TRUE(queue->isQueueEmpty());
    EXPECT_FALSE(queue->expectsMore());
    EXPECT_FALSE(queue->hasJobRunning());
    EXPECT_EQ(ScriptedMediaConverter::created(), 0U);
    EXPECT_EQ(executor.pendingCount(), 0U);
}

TEST_F(KTRMeetingRecordConvertingQueueTest, ItemsAreConvertedInOrderWithoutASleepBetweenThem) {
    script({0.0F, 100.0F});
    script({}, 4);
    script({100.0F});
    for (const char* const path : {"/a", "/b", "/c"}) {
        queue->appendRecordItem(itemFor(path));
    }
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(reports->log, (Log{"start /a", "progress 0.000000 /a", "progress 100.000000 /a", "stop /a", "start /b",
                                 "error 4 /b", "start /c", "progress 100.000000 /c", "stop /c", "ran out"}));
    EXPECT_TRUE(executor.sleeps().empty());
    EXPECT_EQ(fileManager.removed(), (std::vector<std::string>{"/a", "/c"})) << "completed items lose their file";
}

TEST_F(KTRMeetingRecordConvertingQueueTest, AnotherItemWaitsForTheRunningJob) {
    script({0.0F});
    script({100.0F});
    executor.setOnSleep([&] {
        EXPECT_FALSE(queue->isQueueEmpty());
        queue->converter().reportConvertingError(1);
    });
    queue->appendRecordItem(itemFor("/a"));
    queue->appendRecordItem(itemFor("/b"));
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(reports->log, (Log{"start /a", "progress 0.000000 /a", "error 1 /a", "start /b", "progress 100.000000 /b",
                                 "stop /b", "ran out"}));
}

TEST_F(KTRMeetingRecordConvertingQueueTest, AJobRunsFromItsStartReportUntilItsStopOrErrorReport) {
    script({0.0F, 100.0F});
    script({0.0F}, 1);
    queue->appendRecordItem(itemFor("/a"));
    queue->appendRecordItem(itemFor("/b"));
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(reports->running, (std::vector<bool>{true, true, true, false, true, true, false}));
}

TEST_F(KTRMeetingRecordConvertingQueueTest, EveryReportCarriesTheQueueAndTheVeryItem) {
    script({100.0F});
    const auto item = itemFor("/a");
    queue->appendRecordItem(item);
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(reports->items, (std::vector<const KTRMeetingRecordItem*>{item.get(), item.get(), item.get()}));
}

TEST_F(KTRMeetingRecordConvertingQueueTest, OneConverterServesEveryItem) {
    queue->appendRecordItem(itemFor("/a"));
    queue->appendRecordItem(itemFor("/b"));
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(ScriptedMediaConverter::requests().size(), 2U);
    EXPECT_EQ(ScriptedMediaConverter::created(), 1U);
    EXPECT_EQ(&queue->converter(), &queue->converter());
    EXPECT_EQ(queue->converter().delegate(), queue);
}

TEST_F(KTRMeetingRecordConvertingQueueTest, PopFrontTakesTheOldestAndEveryEntryEqualToIt) {
    const auto first = itemFor("/a");
    const auto second = itemFor("/b");
    for (const auto& item : {first, second, first}) {
        queue->pushBack(item);
    }
    EXPECT_EQ(queue->popFront(), first);
    EXPECT_FALSE(queue->isQueueEmpty());
    EXPECT_EQ(queue->popFront(), second);
    EXPECT_TRUE(queue->isQueueEmpty());
    EXPECT_EQ(queue->popFront(), nullptr);
}

TEST_F(KTRMeetingRecordConvertingQueueTest, ADelegateThatImplementsNothingOrNoneLetsItemsBeConverted) {
    const auto nothing = std::make_shared<KTRMeetingRecordConvertingQueueDelegate>();
    for (const std::shared_ptr<KTRMeetingRecordConvertingQueueDelegate>& delegate :
         {std::shared_ptr<KTRMeetingRecordConvertingQueueDelegate>(), nothing}) {
        queue->setDelegate(delegate);
        script({0.0F, 100.0F});
        script({}, 3);
        queue->appendRecordItem(itemFor("/a"));
        queue->appendRecordItem(itemFor("/b"));
        queue->run();
        queue->halt();
        executor.runNext();
    }
    EXPECT_EQ(fileManager.removed(), (std::vector<std::string>{"/a", "/a"}));
    EXPECT_TRUE(reports->log.empty());
}

}  // namespace
