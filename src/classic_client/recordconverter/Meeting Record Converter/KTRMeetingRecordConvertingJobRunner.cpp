#include "KTRMeetingRecordConvertingJobRunner.h"

#include "KTRMeetingRecordItem.h"
#include "platform/DispatchQueue.h"
#include "unifiedtram/unifiedtram.h"

#include <utility>

KTRMeetingRecordConvertingJobRunner::KTRMeetingRecordConvertingJobRunner(platform::SerialQueueMaker& serialQueueMaker,
                                                                         platform::FileManager& fileManager)
    : fileManager_(fileManager) {
    MacInfoTrace2("RecordConverter", "%s: ", "-[KTRMeetingRecordConvertingJobRunner init]");
    convertQueue_ = serialQueueMaker.makeSerialQueue("ktrmp4recordingconvertqueue");
}

KTRMeetingRecordConvertingJobRunner::~KTRMeetingRecordConvertingJobRunner() = default;

void KTRMeetingRecordConvertingJobRunner::scheduleJob(std::shared_ptr<KTRMeetingRecordItem> item) {
    MacInfoTrace2("RecordConverter", "%s: src_pid = %d, src_path = %s",
                  "-[KTRMeetingRecordConvertingJobRunner scheduleJob:]", item->pid(), item->srcPath().c_str());
    const bool otherJobsWaited = hasJobsWaiting();
    pushBack(std::move(item));
    // If other jobs waited, a step is already queued, or a running job will queue one when it ends; it reaches this
    // item.
    if (otherJobsWaited || hasJobRunning()) {
        return;
    }
    runNextJob();
}

void KTRMeetingRecordConvertingJobRunner::pushBack(std::shared_ptr<KTRMeetingRecordItem> item) {
    const std::lock_guard lock(monitor_);
    ++timesWaiting_[item.get()];
    jobs_.push_back(std::move(item));
    waitingCount_ = jobs_.size();
}

std::shared_ptr<KTRMeetingRecordItem> KTRMeetingRecordConvertingJobRunner::popFront() {
    const std::lock_guard lock(monitor_);
    if (jobs_.empty()) {
        return nullptr;
    }
    auto item = jobs_.front();
    const auto times = timesWaiting_.extract(item.get());
    // Searching the whole list for each item would make a long list slow; nearly every item is in it once.
    if (times.mapped() == 1) {
        jobs_.pop_front();
    } else {
        std::erase(jobs_, item);
    }
    waitingCount_ = jobs_.size();
    return item;
}

void KTRMeetingRecordConvertingJobRunner::runNextJob() {
    MacInfoTrace2("RecordConverter", "%s: ... ", "-[KTRMeetingRecordConvertingJobRunner runNextJob]");
    // The step keeps the runner alive, so that a conversion in progress never loses its delegate.
    convertQueue_->async([self = shared_from_this()] { self->runJobStep(); });
}

void KTRMeetingRecordConvertingJobRunner::runJobStep() {
    reCreateConverter();
    if (const auto item = popFront()) {
        convertItem(item);
    } else if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingJobRunnerDidRunOutOfJobs(*this);
    }
}

void KTRMeetingRecordConvertingJobRunner::convertItem(const std::shared_ptr<KTRMeetingRecordItem>& item) {
    MacInfoTrace2("RecordConverter", "%s: src_pid = %d, src_path = %s",
                  "-[KTRMeetingRecordConvertingJobRunner convertItem:]", item->pid(), item->srcPath().c_str());
    converter_->convertsRecordItem(item);
}

void KTRMeetingRecordConvertingJobRunner::reCreateConverter() {
    converter_.reset();
    converter_ = std::make_unique<KTRMeetingRecordConverter>(fileManager_);
    converter_->setDelegate(shared_from_this());
}

void KTRMeetingRecordConvertingJobRunner::meetingRecordConverterDidStartConvertingRecordItem(
    KTRMeetingRecordConverter&, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    hasJobRunning_ = true;
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingJobRunnerDidStartConvertingRecordItem(*this, item);
    }
}

void KTRMeetingRecordConvertingJobRunner::meetingRecordConverterUpdatesConvertingProgressForRecordItem(
    KTRMeetingRecordConverter&, double progress, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingJobRunnerUpdatesConvertingProgressForRecordItem(*this, progress, item);
    }
}

void KTRMeetingRecordConvertingJobRunner::meetingRecordConverterDidStopConvertingRecordItem(
    KTRMeetingRecordConverter&, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    hasJobRunning_ = false;
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingJobRunnerDidStopConvertingRecordItem(*this, item);
    }
    runNextJob();
}

void KTRMeetingRecordConvertingJobRunner::meetingRecordConverterHitsConvertingErrorForRecordItem(
    KTRMeetingRecordConverter&, int error, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    hasJobRunning_ = false;
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingJobRunnerHitsConvertingErrorForRecordItem(*this, error, item);
    }
    runNextJob();
}

bool KTRMeetingRecordConvertingJobRunner::meetingRecordConverterShouldKeepIntermediateItem(
    KTRMeetingRecordConverter&, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    const auto delegate = delegate_.lock();
    return delegate && delegate->recordConvertingJobRunnderShouldKeepIntermediateItem(*this, item);
}
