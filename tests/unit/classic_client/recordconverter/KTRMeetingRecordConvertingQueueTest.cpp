#include "KTRMeetingRecordConvertingQueue.h"

#include "KTRMeetingRecordItem.h"
#include "support/FakeBackgroundExecutor.h"
#include "support/FakeFileManager.h"
#include "support/FakeSystemLog.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"
#include "support/Sequence.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using support::script;
using support::ScriptedMediaConverter;
using test::Log;
using Item = std::shared_ptr<KTRMeetingRecordItem>;

const std::string runLine = "-[KTRMeetingRecordConvertingQueue run]";
const std::string haltLine = "-[KTRMeetingRecordConvertingQueue halt]";
const std::string reviveLine = "-[KTRMeetingRecordConvertingQueue revive]";
const std::string outLine = "-[KTRMeetingRecordConvertingQueue processConvertingBuffer]: run out of jobs";

class Reports final : public KTRMeetingRecordConvertingQueueDelegate {
public:
    void recordConvertingQueueDidStartConvertingRecordItem(KTRMeetingRecordConvertingQueue& queue,
                                                           const Item& item) override {
        note("start", queue, item);
        if (onStart) {
            onStart();
        }
    }
    void recordConvertingQueueUpdatesConvertingProgressForRecordItem(KTRMeetingRecordConvertingQueue& queue,
                                                                     double progress, const Item& item) override {
        note("progress " + std::to_string(progress), queue, item);
    }
    void recordConvertingQueueDidStopConvertingRecordItem(KTRMeetingRecordConvertingQueue& queue,
                                                          const Item& item) override {
        note("stop", queue, item);
    }
    void recordConvertingQueueHitsConvertingErrorForRecordItem(KTRMeetingRecordConvertingQueue& queue, int error,
                                                               const Item& item) override {
        note("error " + std::to_string(error), queue, item);
    }
    void recordConvertingQueueDidRunOutOfJobs(KTRMeetingRecordConvertingQueue& queue) override {
        EXPECT_EQ(&queue, expectedQueue);
        log.emplace_back("ran out");
        if (onRunOut) {
            onRunOut();
        }
    }

    Log log;
    std::vector<const KTRMeetingRecordItem*> items;
    std::vector<bool> running;
    const KTRMeetingRecordConvertingQueue* expectedQueue = nullptr;
    std::function<void()> onStart;
    std::function<void()> onRunOut;

private:
    void note(const std::string& report, const KTRMeetingRecordConvertingQueue& queue, const Item& item) {
        EXPECT_EQ(&queue, expectedQueue);
        log.push_back(report + ' ' + item->srcPath());
        items.push_back(item.get());
        running.push_back(queue.hasJobRunning());
    }
};

class KTRMeetingRecordConvertingQueueTest : public testing::Test {
protected:
    KTRMeetingRecordConvertingQueueTest() {
        ScriptedMediaConverter::reset();
        queue = std::make_shared<KTRMeetingRecordConvertingQueue>(executor, fileManager);
        queue->setDelegate(reports);
        reports->expectedQueue = queue.get();
    }

    Item itemFor(const std::string& path) {
        fileManager.addFile(path);
        return std::make_shared<KTRMeetingRecordItem>(7, path, fileManager);
    }

    test::RecordingTrace trace;
    test::FakeSystemLog systemLog;
    test::FakeFileManager fileManager;
    test::FakeBackgroundExecutor executor;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    std::shared_ptr<KTRMeetingRecordConvertingQueue> queue;
};

TEST_F(KTRMeetingRecordConvertingQueueTest, BeginsEmptyExpectingNothingWithoutAConverter) {
    EXPECT_EQ(trace.log(), Log{test::info("-[KTRMeetingRecordConvertingQueue init]: ")});
    EXPECT_TRUE(queue->isQueueEmpty());
    EXPECT_FALSE(queue->expectsMore());
    EXPECT_FALSE(queue->hasJobRunning());
    EXPECT_EQ(ScriptedMediaConverter::created(), 0U);
    EXPECT_EQ(executor.pendingCount(), 0U);
}

TEST_F(KTRMeetingRecordConvertingQueueTest, RunLogsExpectsMoreAndStartsTheLoopInTheBackground) {
    queue->run();
    EXPECT_EQ(systemLog.lines(), Log{runLine});
    EXPECT_TRUE(queue->expectsMore());
    EXPECT_EQ(executor.pendingCount(), 1U);
    EXPECT_TRUE(reports->log.empty());
}

TEST_F(KTRMeetingRecordConvertingQueueTest, AnEmptyQueueIsPolledOnceASecondUntilHaltAndThenRunsOutOnce) {
    int turns = 0;
    executor.setOnSleep([&] {
        if (++turns == 4) {
            queue->halt();
        }
    });
    queue->run();
    executor.runNext();
    EXPECT_EQ(executor.sleeps(), (std::vector<double>{1, 1, 1, 1}));
    EXPECT_EQ(systemLog.lines(), (Log{runLine, haltLine, outLine}));
    EXPECT_EQ(reports->log, Log{"ran out"});
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

TEST_F(KTRMeetingRecordConvertingQueueTest, ItemsAppendedAfterHaltButBeforeTheLoopEndsAreStillConverted) {
    script({100.0F});
    executor.setOnSleep([&] {
        queue->halt();
        queue->appendRecordItem(itemFor("/late"));
    });
    queue->run();
    executor.runNext();
    EXPECT_EQ(reports->log, (Log{"start /late", "progress 100.000000 /late", "stop /late", "ran out"}));
}

TEST_F(KTRMeetingRecordConvertingQueueTest, WhileAJobRunsTheLoopSleepsFiveSecondsAtATime) {
    // A conversion that has not ended when the call returns.
    script({0.0F});
    int turns = 0;
    executor.setOnSleep([&] {
        if (++turns == 3) {
            queue->converter().reportConvertingProgress(100.0F);
        }
    });
    queue->appendRecordItem(itemFor("/a"));
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(executor.sleeps(), (std::vector<double>{5, 5, 5}));
    EXPECT_EQ(reports->log.back(), "ran out");
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

TEST_F(KTRMeetingRecordConvertingQueueTest, ReviveExpectsMoreAgainOnlyAfterHalt) {
    queue->run();
    queue->revive();
    EXPECT_EQ(systemLog.lines(), Log{runLine}) << "nothing to revive";
    queue->halt();
    queue->revive();
    EXPECT_TRUE(queue->expectsMore());
    EXPECT_EQ(systemLog.lines(), (Log{runLine, haltLine, reviveLine}));
    EXPECT_EQ(executor.pendingCount(), 1U) << "it starts no loop";
}

TEST_F(KTRMeetingRecordConvertingQueueTest, AfterTheLoopHasEndedReviveAloneConvertsNothingUntilRun) {
    queue->run();
    queue->halt();
    executor.runNext();
    queue->revive();
    queue->appendRecordItem(itemFor("/a"));
    EXPECT_FALSE(executor.runNext());
    EXPECT_TRUE(ScriptedMediaConverter::requests().empty());
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(ScriptedMediaConverter::requests().size(), 1U);
}

TEST_F(KTRMeetingRecordConvertingQueueTest, ReviveKeepsALoopAliveThatIsAboutToEnd) {
    int turns = 0;
    executor.setOnSleep([&] {
        ++turns;
        queue->halt();
        if (turns == 1) {
            queue->revive();
        }
    });
    queue->run();
    executor.runNext();
    EXPECT_EQ(turns, 2);
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

TEST_F(KTRMeetingRecordConvertingQueueTest, TheLoopKeepsTheQueueAliveAndTheDelegateIsNotKept) {
    queue->run();
    queue->halt();
    const std::weak_ptr<KTRMeetingRecordConvertingQueue> watched = queue;
    queue = nullptr;
    EXPECT_FALSE(watched.expired());
    executor.runNext();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(reports->log, Log{"ran out"});
    const std::weak_ptr<Reports> watchedReports = reports;
    reports = nullptr;
    EXPECT_TRUE(watchedReports.expired());
}

TEST_F(KTRMeetingRecordConvertingQueueTest, FlagsCanBeSet) {
    queue->setExpectsMore(true);
    queue->setHasJobRunning(true);
    EXPECT_TRUE(queue->expectsMore());
    EXPECT_TRUE(queue->hasJobRunning());
}

TEST_F(KTRMeetingRecordConvertingQueueTest, RunningOutIsLoggedBeforeItIsTold) {
    Log logged;
    reports->onRunOut = [&] { logged = systemLog.lines(); };
    queue->run();
    queue->halt();
    executor.runNext();
    EXPECT_EQ(logged, (Log{runLine, haltLine, outLine}));
}

TEST_F(KTRMeetingRecordConvertingQueueTest, EachCallIsLoggedBeforeItHasAnEffect) {
    test::Sequence sequence;
    std::vector<bool> expected;
    sequence.setOnEvent([&](const std::string&) { expected.push_back(queue->expectsMore()); });
    queue->run();
    queue->halt();
    queue->revive();
    EXPECT_EQ(sequence.events(),
              (Log{"system log: " + runLine, "system log: " + haltLine, "system log: " + reviveLine}));
    EXPECT_EQ(expected, (std::vector{false, true, false}));
}

}  // namespace
