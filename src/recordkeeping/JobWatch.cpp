#include "recordkeeping/JobWatch.h"

#include <utility>

namespace recordkeeping {

JobWatch::JobWatch(std::shared_ptr<KTRMeetingRecordConvertingJobRunnerDelegate> application, Hooks hooks)
    : application_(std::move(application)), hooks_(std::move(hooks)) {}

void JobWatch::recordConvertingJobRunnerDidStartConvertingRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                                     const Item& item) {
    hooks_.starting(item);
    application_->recordConvertingJobRunnerDidStartConvertingRecordItem(runner, item);
}

void JobWatch::recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(
    KTRMeetingRecordConvertingJobRunner& runner, double progress, const Item& item) {
    application_->recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(runner, progress, item);
    hooks_.progress(progress);
}

void JobWatch::recordConvertingJobRunnerDidStopConvertingRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                                    const Item& item) {
    application_->recordConvertingJobRunnerDidStopConvertingRecordItem(runner, item);
    hooks_.ended(item);
}

void JobWatch::recordConvertingJobRunnerHitsConvertingErrorForRecordItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                                         int error, const Item& item) {
    application_->recordConvertingJobRunnerHitsConvertingErrorForRecordItem(runner, error, item);
    hooks_.ended(item);
}

void JobWatch::recordConvertingJobRunnerDidRunOutOfJobs(KTRMeetingRecordConvertingJobRunner& runner) {
    application_->recordConvertingJobRunnerDidRunOutOfJobs(runner);
}

bool JobWatch::recordConvertingJobRunnderShouldKeepIntermediateItem(KTRMeetingRecordConvertingJobRunner& runner,
                                                                    const Item& item) {
    const bool applicationKeeps = application_->recordConvertingJobRunnderShouldKeepIntermediateItem(runner, item);
    return hooks_.keepsIntermediate(item) || applicationKeeps;
}

}  // namespace recordkeeping
