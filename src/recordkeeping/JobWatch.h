#pragma once

#include "KTRMeetingRecordConvertingJobRunner.h"

#include <functional>
#include <memory>

namespace recordkeeping {

/// Sits between the job runner and the application: forwards every report, and notifies its owner of the start,
/// progress and end of each job. Called on the runner's threads.
class JobWatch final : public KTRMeetingRecordConvertingJobRunnerDelegate {
public:
    using Item = std::shared_ptr<KTRMeetingRecordItem>;

    /// `starting` runs before the application learns of the start, `ended` after it has learned of the stop or error.
    /// `keepsIntermediate` runs when the MP4 is complete; it can make a file be kept, but not be removed.
    struct Hooks {
        std::function<void(const Item&)> starting;
        std::function<void(double percent)> progress;
        std::function<bool(const Item&)> keepsIntermediate;
        std::function<void(const Item&)> ended;
    };

    JobWatch(std::shared_ptr<KTRMeetingRecordConvertingJobRunnerDelegate> application, Hooks hooks);

    void recordConvertingJobRunnerDidStartConvertingRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                               const Item& item) override;
    void recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                                         double progress, const Item& item) override;
    void recordConvertingJobRunnerDidStopConvertingRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                              const Item& item) override;
    void recordConvertingJobRunnerHitsConvertingErrorForRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                                   int error, const Item& item) override;
    void recordConvertingJobRunnerDidRunOutOfJobs(KTRMeetingRecordConvertingJobRunner& runner) override;
    bool recordConvertingJobRunnderShouldKeepIntermediateItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                              const Item& item) override;

private:
    const std::shared_ptr<KTRMeetingRecordConvertingJobRunnerDelegate> application_;
    const Hooks hooks_;
};

}  // namespace recordkeeping
