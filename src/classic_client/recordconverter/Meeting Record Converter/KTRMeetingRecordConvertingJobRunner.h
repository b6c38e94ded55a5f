#pragma once

#include "KTRMeetingRecordConverter.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace platform {
class DispatchQueue;
class FileManager;
class SerialQueueMaker;
}  // namespace platform

class KTRMeetingRecordConvertingJobRunner;

/// Hears how the jobs go. Start and ran-out-of-jobs come on the runner's serial queue; progress, stop, error and the
/// keep question on whatever thread the media converter calls back from. Every report carries the item scheduled.
class KTRMeetingRecordConvertingJobRunnerDelegate {
public:
    virtual ~KTRMeetingRecordConvertingJobRunnerDelegate() = default;

    virtual void
    recordConvertingJobRunnerDidStartConvertingRecordItem(KTRMeetingRecordConvertingJobRunner&,
                                                          const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// Percent.
    virtual void recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(
        KTRMeetingRecordConvertingJobRunner&, double /*progress*/,
        const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    virtual void
    recordConvertingJobRunnerDidStopConvertingRecordItem(KTRMeetingRecordConvertingJobRunner&,
                                                         const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    /// The job is over: it is not tried again, and its intermediate file is untouched.
    virtual void
    recordConvertingJobRunnerHitsConvertingErrorForRecordItem(KTRMeetingRecordConvertingJobRunner&, int /*error*/,
                                                              const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    virtual void recordConvertingJobRunnerDidRunOutOfJobs(KTRMeetingRecordConvertingJobRunner&) {}

    /// Whether the intermediate file of a completed conversion stays. Default: it goes.
    virtual bool
    recordConvertingJobRunnderShouldKeepIntermediateItem(KTRMeetingRecordConvertingJobRunner&,
                                                         const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {
        return false;
    }
};

/// The application's one job queue: converts items one after another in the order scheduled, each with a fresh
/// converter, on a serial queue of its own. Owned by the application delegate, to which it reports; lives as long as
/// the application.
class KTRMeetingRecordConvertingJobRunner final
    : public KTRMeetingRecordConverterDelegate,
      public std::enable_shared_from_this<KTRMeetingRecordConvertingJobRunner> {
public:
    KTRMeetingRecordConvertingJobRunner(platform::SerialQueueMaker& serialQueueMaker,
                                        platform::FileManager& fileManager);
    ~KTRMeetingRecordConvertingJobRunner() override;

    std::shared_ptr<KTRMeetingRecordConvertingJobRunnerDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingRecordConvertingJobRunnerDelegate>& delegate) {
        delegate_ = delegate;
    }

    /// Puts `item` behind the waiting ones and sees to it that it is reached. Any thread; returns before anything is
    /// converted. An item that waits twice is converted once.
    void scheduleJob(std::shared_ptr<KTRMeetingRecordItem> item);

    void pushBack(std::shared_ptr<KTRMeetingRecordItem> item);
    /// Null when nothing waits.
    std::shared_ptr<KTRMeetingRecordItem> popFront();

    /// Any thread; does not wait for who is pushing or popping.
    bool hasJobsWaiting() const { return waitingCount_ > 0; }

    /// True from a job's start report until its stop or error report. Any thread.
    bool hasJobRunning() const { return hasJobRunning_; }

    /// Queues one job step and returns.
    void runNextJob();
    void convertItem(const std::shared_ptr<KTRMeetingRecordItem>& item);

    /// Replaces the converter by a fresh one; the old one and its media converter go first.
    void reCreateConverter();

    void meetingRecordConverterDidStartConvertingRecordItem(KTRMeetingRecordConverter& converter,
                                                            const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void meetingRecordConverterUpdatesConvertingProgressForRecordItem(
        KTRMeetingRecordConverter& converter, double progress,
        const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void meetingRecordConverterDidStopConvertingRecordItem(KTRMeetingRecordConverter& converter,
                                                           const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    void
    meetingRecordConverterHitsConvertingErrorForRecordItem(KTRMeetingRecordConverter& converter, int error,
                                                           const std::shared_ptr<KTRMeetingRecordItem>& item) override;
    bool meetingRecordConverterShouldKeepIntermediateItem(KTRMeetingRecordConverter& converter,
                                                          const std::shared_ptr<KTRMeetingRecordItem>& item) override;

private:
    void runJobStep();

    platform::FileManager& fileManager_;
    std::weak_ptr<KTRMeetingRecordConvertingJobRunnerDelegate> delegate_;
    std::recursive_mutex monitor_;
    std::deque<std::shared_ptr<KTRMeetingRecordItem>> jobs_;
    std::unordered_map<const KTRMeetingRecordItem*, std::size_t> timesWaiting_;
    std::atomic<std::size_t> waitingCount_ = 0;
    std::atomic<bool> hasJobRunning_ = false;
    std::unique_ptr<KTRMeetingRecordConverter> converter_;
    // Last: its end waits for the steps that are queued, which use everything above. They hold the runner, so its end
    // may come on this very queue.
    std::unique_ptr<platform::DispatchQueue> convertQueue_;
};
