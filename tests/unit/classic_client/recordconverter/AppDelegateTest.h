#pragma once

#include "AppDelegate.h"
#include "KTRConverterProcessNotificationMgr.h"
#include "support/FakePlatform.h"
#include "support/MeetingNotifications.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// The application delegate on a fake platform, with a media converter that follows scripts.
class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest() {
        support::ScriptedMediaConverter::reset();
        app = std::make_shared<AppDelegate>(fake.platform(), fake.bubbleMaker);
        fake.application.setDelegate(app);
    }

    /// A line of the delegate in the trace.
    static std::string traced(const std::string& method, const std::string& rest) {
        return info("-[AppDelegate " + method + "]" + rest);
    }

    void launch(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), "/opt/bin/record-converter");
        fake.processInformation.setArguments(arguments);
        app->applicationDidFinishLaunching();
    }

    /// Sets the delegates of the runner and of the pool, without a start-up.
    void wire() {
        app->convertingJobRunner()->setDelegate(app);
        app->meetingPool()->setDelegate(app);
        trace.clear();
    }

    void runOut() { app->recordConvertingJobRunnerDidRunOutOfJobs(*app->convertingJobRunner()); }

    void deliver(const char* name, std::int32_t pid, const std::optional<std::string>& path = std::nullopt) {
        fake.distributedCenter.deliver(meetingNotification(name, pid, path));
    }

    std::size_t terminations() const { return fake.application.terminateSenders().size(); }

    std::shared_ptr<KTRConverterProcessNotificationMgr> manager() {
        return std::dynamic_pointer_cast<KTRConverterProcessNotificationMgr>(app->converterReporter());
    }

    std::size_t countInTrace(const std::string& line) const {
        const auto log = trace.log();
        return static_cast<std::size_t>(std::count(log.begin(), log.end(), line));
    }

    RecordingTrace trace;
    FakePlatform fake;
    std::shared_ptr<AppDelegate> app;
};

}  // namespace test
