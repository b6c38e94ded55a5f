#pragma once

#include "KTRMeetingPool.h"
#include "KTRMeetingRecordConvertingJobRunner.h"
#include "platform/Application.h"
#include "platform/Platform.h"
#include "platform/ui/View.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace platform {
class Timer;
}

class AuroraBubbleMaker;
class KTRAppInlet;
class KTRAppLaunchingEnv;
class KTRConverterReportProtocol;

/// Runs the application: owns and starts every subsystem, turns written files into jobs and job events into bubbles,
/// and quits once no meeting process is left, every job has run and every result bubble has closed. Held by the
/// application main until the process ends. Main thread, except the job runner's events and `setBAllTaskFinished`.
class AppDelegate final : public platform::ApplicationDelegate,
                          public KTRMeetingPoolDelegate,
                          public KTRMeetingRecordConvertingJobRunnerDelegate,
                          public std::enable_shared_from_this<AppDelegate> {
public:
    AppDelegate(const platform::Platform& platform, AuroraBubbleMaker& bubbleMaker);
    ~AppDelegate() override;

    void applicationDidFinishLaunching() override;
    void applicationWillTerminate() override;

    void onStartUp();
    void notifyAppSpawnByProcess(std::int32_t pid);

    /// True arms the one-second quit check, false stops it. Any thread; the check is armed through the main queue.
    void setBAllTaskFinished(bool finished);
    bool bAllTaskFinished() const { return bAllTaskFinished_; }

    /// Quits once the jobs have run out and no result is left for the user to see.
    void checkNeedQuitApp();
    void quitApp();

    std::shared_ptr<platform::StatusItem> statusItem() const override { return statusItem_; }
    void setStatusItem(std::shared_ptr<platform::StatusItem> item) { statusItem_ = std::move(item); }

    /// The application's own window, if it has one; nothing here uses it.
    std::shared_ptr<platform::ui::View> window() const { return window_.lock(); }
    void setWindow(const std::shared_ptr<platform::ui::View>& window) { window_ = window; }

    // The getters of this group make the object on their first call, unless one has been set.
    const std::shared_ptr<KTRMeetingRecordConvertingJobRunner>& convertingJobRunner();
    void setConvertingJobRunner(std::shared_ptr<KTRMeetingRecordConvertingJobRunner> runner) {
        convertingJobRunner_ = std::move(runner);
    }
    const std::shared_ptr<KTRAppInlet>& appInlet();
    void setAppInlet(std::shared_ptr<KTRAppInlet> inlet) { appInlet_ = std::move(inlet); }
    const std::shared_ptr<KTRMeetingPool>& meetingPool();
    void setMeetingPool(std::shared_ptr<KTRMeetingPool> pool) { meetingPool_ = std::move(pool); }
    const std::shared_ptr<KTRAppLaunchingEnv>& launchingEnv();
    void setLaunchingEnv(std::shared_ptr<KTRAppLaunchingEnv> environment) { launchingEnv_ = std::move(environment); }
    const std::shared_ptr<KTRConverterReportProtocol>& converterReporter();
    void setConverterReporter(std::shared_ptr<KTRConverterReportProtocol> reporter) {
        converterReporter_ = std::move(reporter);
    }

    /// True once the being-prepared bubble has been requested; never reset.
    bool showedFilePreparedBubble() const { return showedFilePreparedBubble_; }
    void setShowedFilePreparedBubble(bool showed) { showedFilePreparedBubble_ = showed; }

    /// The quit check's timer; null while none is armed. Any thread.
    std::shared_ptr<platform::Timer> checkNeedTerminateTimer() const;
    void setCheckNeedTerminateTimer(std::shared_ptr<platform::Timer> timer);

    void meetingPoolDidReceiveJobFromProcessWritingTo(KTRMeetingPool& pool, std::int32_t pid,
                                                      const std::optional<std::string>& path) override;
    void meetingPoolDidStashJobFromProcessSavedAt(KTRMeetingPool& pool, std::int32_t pid,
                                                  const std::optional<std::string>& path) override;
    void meetingPoolDidReceiveRequestFromProcessToConvertRecords(KTRMeetingPool& pool, std::int32_t pid,
                                                                 const std::vector<std::string>& paths) override;
    void meetingPoolDidExhaust(KTRMeetingPool& pool) override;

    void
    recordConvertingJobRunnerDidStartConvertingRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                          const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(
        KTRMeetingRecordConvertingJobRunner& runner, double progress,
        const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void
    recordConvertingJobRunnerDidStopConvertingRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                         const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void recordConvertingJobRunnerHitsConvertingErrorForRecordItem(
        KTRMeetingRecordConvertingJobRunner& runner, int error,
        const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void recordConvertingJobRunnerDidRunOutOfJobs(KTRMeetingRecordConvertingJobRunner& runner) override;
    bool
    recordConvertingJobRunnderShouldKeepIntermediateItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                         const std::shared_ptr<KTRMeetingRecordItem>& item) override;

    void updateUI_ConvertingStarted(const std::shared_ptr<KTRMeetingRecordItem>& item);
    /// Does nothing: progress is not shown.
    void updateUI_ConvertingProgressForRecordItem(double progress, const std::shared_ptr<KTRMeetingRecordItem>& item);
    void updateUI_ConvertingStopped(const std::shared_ptr<KTRMeetingRecordItem>& item);
    /// Code 0 shows nothing.
    void updateUI_ConvertingErrorForRecordItem(int error, const std::shared_ptr<KTRMeetingRecordItem>& item);

private:
    const platform::Platform platform_;
    AuroraBubbleMaker& bubbleMaker_;

    std::atomic<bool> showedFilePreparedBubble_ = false;
    std::atomic<bool> bAllTaskFinished_ = false;
    std::shared_ptr<platform::StatusItem> statusItem_;
    std::weak_ptr<platform::ui::View> window_;
    std::shared_ptr<KTRMeetingRecordConvertingJobRunner> convertingJobRunner_;
    std::shared_ptr<KTRAppInlet> appInlet_;
    std::shared_ptr<KTRMeetingPool> meetingPool_;
    std::shared_ptr<KTRAppLaunchingEnv> launchingEnv_;
    std::shared_ptr<KTRConverterReportProtocol> converterReporter_;

    mutable std::mutex timerMutex_;
    std::shared_ptr<platform::Timer> checkNeedTerminateTimer_;
};
