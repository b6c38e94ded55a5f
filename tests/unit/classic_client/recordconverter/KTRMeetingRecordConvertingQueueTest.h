#pragma once

#include "KTRMeetingRecordConvertingQueue.h"
#include "support/FakeBackgroundExecutor.h"
#include "support/FakeFileManager.h"
#include "support/FakeSystemLog.h"
#include "support/RecordItems.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// A converting queue whose loop runs when a test says so, with a media converter that follows scripts.
class KTRMeetingRecordConvertingQueueTest : public testing::Test {
protected:
    using Item = std::shared_ptr<KTRMeetingRecordItem>;
    using Queue = KTRMeetingRecordConvertingQueue;

    /// Writes down what the queue reports.
    class Reports final : public KTRMeetingRecordConvertingQueueDelegate {
    public:
        void recordConvertingQueueDidStartConvertingRecordItem(Queue& sender, const Item& item) override {
            note("start", sender, item);
        }
        void recordConvertingQueueUpdatesConvertingProgressForRecordItem(Queue& sender, double progress,
                                                                         const Item& item) override {
            note("progress " + std::to_string(progress), sender, item);
        }
        void recordConvertingQueueDidStopConvertingRecordItem(Queue& sender, const Item& item) override {
            note("stop", sender, item);
        }
        void recordConvertingQueueHitsConvertingErrorForRecordItem(Queue& sender, int error,
                                                                   const Item& item) override {
            note("error " + std::to_string(error), sender, item);
        }
        void recordConvertingQueueDidRunOutOfJobs(Queue& sender) override {
            EXPECT_EQ(&sender, expectedQueue);
            log.emplace_back("ran out");
            if (onRunOut) {
                onRunOut();
            }
        }

        Log log;
        std::vector<const KTRMeetingRecordItem*> items;
        std::vector<bool> running;
        const Queue* expectedQueue = nullptr;
        std::function<void()> onRunOut;

    private:
        void note(const std::string& report, const Queue& sender, const Item& item) {
            EXPECT_EQ(&sender, expectedQueue);
            log.push_back(report + ' ' + item->srcPath());
            items.push_back(item.get());
            running.push_back(sender.hasJobRunning());
        }
    };

    KTRMeetingRecordConvertingQueueTest() {
        support::ScriptedMediaConverter::reset();
        queue = std::make_shared<Queue>(executor, fileManager);
        queue->setDelegate(reports);
        reports->expectedQueue = queue.get();
    }

    Item itemFor(const std::string& path) { return test::itemFor(path, fileManager); }

    RecordingTrace trace;
    FakeSystemLog systemLog;
    FakeFileManager fileManager;
    FakeBackgroundExecutor executor;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    std::shared_ptr<Queue> queue;
};

}  // namespace test
