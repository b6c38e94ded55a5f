#pragma once

#include "KTRMeetingRecordConvertingJobRunner.h"

#include <functional>
#include <memory>

namespace recordkeeping {

/// Stands between the job runner and the application: passes every report on, and tells its owner of each job's
/// beginning, progress and end. On the runner's threads.
class JobWatch final : public KTRMeetingRecordConvertingJobRunnerDelegate {
public:
    using Item = std::shared_ptr<KTRMeetingRecordItem>;

    /// `starting` runs before the application knows of the start, `ended` after it knows of the stop or error.
    /// `keepsIntermediate` runs when the MP4 is whole and may only add to the application's answer.
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
