#pragma once

#include "KTRMeetingPool.h"
#include "support/FakeDistributedNotificationCenter.h"
#include "support/FakeProcessExitWatch.h"
#include "support/FakeProcessInformation.h"
#include "support/FakeSystemLog.h"
#include "support/RecordingTrace.h"

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// A meeting pool whose meeting processes start, stop, quit and end when a test says so.
class KTRMeetingPoolTest : public testing::Test {
protected:
    /// Writes down what the pool reports.
    class Jobs final : public KTRMeetingPoolDelegate {
    public:
        void meetingPoolDidReceiveJobFromProcessWritingTo(KTRMeetingPool& sender, std::int32_t pid,
                                                          const std::optional<std::string>& path) override {
            note("job of " + std::to_string(pid) + ": " + path.value_or("(absent)"), sender);
        }
        void meetingPoolDidStashJobFromProcessSavedAt(KTRMeetingPool& sender, std::int32_t pid,
                                                      const std::optional<std::string>& path) override {
            note("stash of " + std::to_string(pid) + ": " + path.value_or("(absent)"), sender);
        }
        void meetingPoolDidReceiveRequestFromProcessToConvertRecords(KTRMeetingPool& sender, std::int32_t pid,
                                                                     const std::vector<std::string>& paths) override {
            std::string text = "request of " + std::to_string(pid) + ":";
            for (const auto& path : paths) {
                text += ' ' + path;
            }
            note(text, sender);
            countAtRequest = sender.countOfMeetingProcesses();
        }
        void meetingPoolDidExhaust(KTRMeetingPool& sender) override { note("exhausted", sender); }

        Log log;
        const KTRMeetingPool* expectedPool = nullptr;
        std::size_t countAtRequest = 99;

    private:
        void note(const std::string& event, const KTRMeetingPool& sender) {
            EXPECT_EQ(&sender, expectedPool);
            log.push_back(event);
        }
    };

    KTRMeetingPoolTest() {
        pool->setDelegate(jobs);
        jobs->expectedPool = pool.get();
        trace.clear();
    }

    // Lines of the trace.
    static std::string instanticating(std::int32_t pid) {
        return info("-[KTRMeetingPool meetingAppRepresentativeForProcess:]: instanticating new App Rep for pid = " +
                    std::to_string(pid));
    }
    static std::string representativeInit(std::int32_t pid) {
        return info("-[KTRMeetingAppRepresentative initWithMeetingAppProcessId:]: pid = " + std::to_string(pid));
    }
    static std::string commencing(std::int32_t pid) {
        return info("-[KTRMeetingAppRepresentative commencesConverting]: pid = " + std::to_string(pid));
    }

    void start(std::int32_t pid, const std::optional<std::string>& path) {
        pool->appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(inlet, pid, path);
    }
    void stop(std::int32_t pid) { pool->appInletSeesMeetingRecordStopedInProcess(inlet, pid); }
    void quit(std::int32_t pid) { pool->appInletSeesMeetingQuitFromProcess(inlet, pid); }
    std::size_t count() const { return pool->countOfMeetingProcesses(); }

    RecordingTrace trace;
    FakeSystemLog systemLog;
    FakeProcessExitWatch exitWatch;
    FakeDistributedNotificationCenter center;
    FakeProcessInformation processInformation;
    KTRAppInlet inlet{center, processInformation};
    std::shared_ptr<Jobs> jobs = std::make_shared<Jobs>();
    std::shared_ptr<KTRMeetingPool> pool = KTRMeetingPool::create(exitWatch);
};

}  // namespace test
