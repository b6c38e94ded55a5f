#pragma once

#include "KTRMeetingRecordConvertingJobRunner.h"
#include "support/FakeDispatchQueue.h"
#include "support/FakeFileManager.h"
#include "support/RecordItems.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace test {

/// A job runner whose queue runs when a test says so, with a media converter that follows scripts.
class KTRMeetingRecordConvertingJobRunnerTest : public testing::Test {
protected:
    using Item = std::shared_ptr<KTRMeetingRecordItem>;
    using Runner = KTRMeetingRecordConvertingJobRunner;

    /// Writes down what the runner reports.
    class Reports final : public KTRMeetingRecordConvertingJobRunnerDelegate {
    public:
        void recordConvertingJobRunnerDidStartConvertingRecordItem(Runner& sender, const Item& item) override {
            note("start", sender, item);
            if (onStart) {
                onStart();
            }
        }
        void recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(Runner& sender, double progress,
                                                                             const Item& item) override {
            note("progress " + std::to_string(progress), sender, item);
        }
        void recordConvertingJobRunnerDidStopConvertingRecordItem(Runner& sender, const Item& item) override {
            note("stop", sender, item);
        }
        void recordConvertingJobRunnerHitsConvertingErrorForRecordItem(Runner& sender, int error,
                                                                       const Item& item) override {
            note("error " + std::to_string(error), sender, item);
        }
        void recordConvertingJobRunnerDidRunOutOfJobs(Runner& sender) override {
            log.push_back("ran out");
            EXPECT_EQ(&sender, expectedRunner);
        }
        bool recordConvertingJobRunnderShouldKeepIntermediateItem(Runner& sender, const Item& item) override {
            note("keep?", sender, item);
            return keeps;
        }

        Log log;
        std::vector<const KTRMeetingRecordItem*> items;
        std::vector<bool> running;
        const Runner* expectedRunner = nullptr;
        std::function<void()> onStart;
        bool keeps = false;

    private:
        void note(const std::string& report, const Runner& sender, const Item& item) {
            EXPECT_EQ(&sender, expectedRunner) << "the first argument is the runner";
            log.push_back(report + ' ' + item->srcPath());
            items.push_back(item.get());
            running.push_back(sender.hasJobRunning());
        }
    };

    KTRMeetingRecordConvertingJobRunnerTest() {
        support::ScriptedMediaConverter::reset();
        runner = std::make_shared<Runner>(queues, fileManager);
        reports->expectedRunner = runner.get();
        runner->setDelegate(reports);
    }

    /// A line of the runner in the trace.
    static std::string traced(const std::string& method, const std::string& rest) {
        return info("-[KTRMeetingRecordConvertingJobRunner " + method + "]: " + rest);
    }

    Item itemFor(const std::string& path) { return test::itemFor(path, fileManager); }

    RecordingTrace trace;
    FakeFileManager fileManager;
    FakeSerialQueueMaker queues;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    std::shared_ptr<Runner> runner;
};

}  // namespace test
