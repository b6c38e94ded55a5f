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

/// Receives the events of the jobs. Start and ran-out-of-jobs come on the runner's serial queue; progress, stop, error
/// and the keep question on whatever thread the media converter calls back from. Every report carries the item that was
/// scheduled.
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

    /// The job is over: it is not retried, and its intermediate file is untouched.
    virtual void
    recordConvertingJobRunnerHitsConvertingErrorForRecordItem(KTRMeetingRecordConvertingJobRunner&, int /*error*/,
                                                              const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {}

    virtual void recordConvertingJobRunnerDidRunOutOfJobs(KTRMeetingRecordConvertingJobRunner&) {}

    /// Whether the intermediate file of a completed conversion is kept. Default: it is removed.
    virtual bool
    recordConvertingJobRunnderShouldKeepIntermediateItem(KTRMeetingRecordConvertingJobRunner&,
                                                         const std::shared_ptr<KTRMeetingRecordItem>& /*item*/) {
        return false;
    }
};

/// The application's only job queue: converts items one after another in the order scheduled, each with a new
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

    /// Appends `item` to the waiting ones and makes sure that it is reached. Any thread; returns before anything is
    /// converted. An item that is scheduled twice while it waits is converted once.
    void scheduleJob(std::shared_ptr<KTRMeetingRecordItem> item);

    void pushBack(std::shared_ptr<KTRMeetingRecordItem> item);
    /// Null if nothing waits.
    std::shared_ptr<KTRMeetingRecordItem> popFront();

    /// Any thread; never blocks on a push or pop in progress.
    bool hasJobsWaiting() const { return waitingCount_ > 0; }

    /// True from a job's start report until its stop or error report. Any thread.
    bool hasJobRunning() const { return hasJobRunning_; }

    /// Queues one job step and returns.
    void runNextJob();
    void convertItem(const std::shared_ptr<KTRMeetingRecordItem>& item);

    /// Replaces the converter by a new one; the old one and its media converter are released first.
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
    // Declared last: its destructor waits for queued steps, which use everything above. The steps keep the runner
    // alive, so the destructor may run on this very queue.
    std::unique_ptr<platform::DispatchQueue> convertQueue_;
};
