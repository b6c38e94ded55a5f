#include "KTRMeetingRecordConvertingQueue.h"

#include "KTRMeetingRecordItem.h"
#include "platform/BackgroundExecutor.h"
#include "platform/SystemLog.h"
#include "unifiedtram/unifiedtram.h"

#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::duration<double> pauseWhileConverting{5.0};
constexpr std::chrono::duration<double> pauseWithoutItems{1.0};

void logLine(const char* text) {
    platform::SystemLog::standard().write(text);
}

}  // namespace

KTRMeetingRecordConvertingQueue::KTRMeetingRecordConvertingQueue(platform::BackgroundExecutor& executor,
                                                                 platform::FileManager& fileManager)
    : executor_(executor), fileManager_(fileManager) {
    MacInfoTrace2("RecordConverter", "%s: ", "-[KTRMeetingRecordConvertingQueue init]");
}

KTRMeetingRecordConvertingQueue::~KTRMeetingRecordConvertingQueue() = default;

KTRMeetingRecordConverter& KTRMeetingRecordConvertingQueue::converter() {
    if (!converter_) {
        converter_ = std::make_unique<KTRMeetingRecordConverter>(fileManager_);
        converter_->setDelegate(shared_from_this());
    }
    return *converter_;
}

void KTRMeetingRecordConvertingQueue::appendRecordItem(std::shared_ptr<KTRMeetingRecordItem> item) {
    pushBack(std::move(item));
}

void KTRMeetingRecordConvertingQueue::pushBack(std::shared_ptr<KTRMeetingRecordItem> item) {
    const std::lock_guard lock(monitor_);
    queue_.push_back(std::move(item));
    waitingCount_ = queue_.size();
}

std::shared_ptr<KTRMeetingRecordItem> KTRMeetingRecordConvertingQueue::popFront() {
    const std::lock_guard lock(monitor_);
    if (queue_.empty()) {
        return nullptr;
    }
    auto item = queue_.front();
    std::erase(queue_, item);
    waitingCount_ = queue_.size();
    return item;
}

void KTRMeetingRecordConvertingQueue::run() {
    logLine("-[KTRMeetingRecordConvertingQueue run]");
    expectsMore_ = true;
    executor_.async([self = shared_from_this()] { self->processConvertingBuffer(); });
}

void KTRMeetingRecordConvertingQueue::halt() {
    logLine("-[KTRMeetingRecordConvertingQueue halt]");
    expectsMore_ = false;
}

void KTRMeetingRecordConvertingQueue::revive() {
    if (!expectsMore_) {
        logLine("-[KTRMeetingRecordConvertingQueue revive]");
        expectsMore_ = true;
    }
}

void KTRMeetingRecordConvertingQueue::processConvertingBuffer() {
    while (expectsMore_ || !isQueueEmpty() || hasJobRunning_) {
        if (hasJobRunning_) {
            executor_.sleep(pauseWhileConverting);
        } else if (const auto item = popFront()) {
            convertItem(item);
        } else {
            executor_.sleep(pauseWithoutItems);
        }
    }
    logLine("-[KTRMeetingRecordConvertingQueue processConvertingBuffer]: run out of jobs");
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingQueueDidRunOutOfJobs(*this);
    }
}

void KTRMeetingRecordConvertingQueue::convertItem(const std::shared_ptr<KTRMeetingRecordItem>& item) {
    converter().convertsRecordItem(item);
}

void KTRMeetingRecordConvertingQueue::meetingRecordConverterDidStartConvertingRecordItem(
    KTRMeetingRecordConverter&, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    hasJobRunning_ = true;
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingQueueDidStartConvertingRecordItem(*this, item);
    }
}

void KTRMeetingRecordConvertingQueue::meetingRecordConverterUpdatesConvertingProgressForRecordItem(
    KTRMeetingRecordConverter&, double progress, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingQueueUpdatesConvertingProgressForRecordItem(*this, progress, item);
    }
}

void KTRMeetingRecordConvertingQueue::meetingRecordConverterDidStopConvertingRecordItem(
    KTRMeetingRecordConverter&, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    hasJobRunning_ = false;
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingQueueDidStopConvertingRecordItem(*this, item);
    }
}

void KTRMeetingRecordConvertingQueue::meetingRecordConverterHitsConvertingErrorForRecordItem(
    KTRMeetingRecordConverter&, int error, const std::shared_ptr<KTRMeetingRecordItem>& item) {
    hasJobRunning_ = false;
    if (const auto delegate = delegate_.lock()) {
        delegate->recordConvertingQueueHitsConvertingErrorForRecordItem(*this, error, item);
    }
}
