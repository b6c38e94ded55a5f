#include "KTRMeetingRecordConverter.h"

#include "KTRMeetingRecordItem.h"
#include "ZEDMediaConverterProxy.h"
#include "platform/FileManager.h"
#include "unifiedtram/unifiedtram.h"

#include <utility>

KTRMeetingRecordConverter::KTRMeetingRecordConverter(platform::FileManager& fileManager)
    : fileManager_(fileManager), converterProxy_(std::make_unique<ZEDMediaConverterProxy>(this)) {}

KTRMeetingRecordConverter::~KTRMeetingRecordConverter() {
    // First of all: until the media converter is released, its callbacks use the other members.
    converterProxy_.reset();
}

void KTRMeetingRecordConverter::convertsRecordItem(std::shared_ptr<KTRMeetingRecordItem> item) {
    if (!converterProxy_) {
        return;
    }
    recordItem_ = std::move(item);
    reportConvertingStarted();
    converterProxy_->ConvertRecord(recordItem_->srcPath().c_str(), recordItem_->dstPath().c_str());
}

void KTRMeetingRecordConverter::reportConvertingStarted() {
    if (const auto delegate = delegate_.lock()) {
        delegate->meetingRecordConverterDidStartConvertingRecordItem(*this, recordItem_);
    }
}

void KTRMeetingRecordConverter::reportConvertingProgress(float progress) {
    if (const auto delegate = delegate_.lock()) {
        delegate->meetingRecordConverterUpdatesConvertingProgressForRecordItem(*this, double{progress}, recordItem_);
    }
    if (progress >= 100.0F) {
        reportConvertingStopped();
    }
}

void KTRMeetingRecordConverter::reportConvertingError(int error) {
    if (const auto delegate = delegate_.lock()) {
        delegate->meetingRecordConverterHitsConvertingErrorForRecordItem(*this, error, recordItem_);
    }
}

void KTRMeetingRecordConverter::reportConvertingStopped() {
    const auto delegate = delegate_.lock();
    if (!delegate || !delegate->meetingRecordConverterShouldKeepIntermediateItem(*this, recordItem_)) {
        deleteIntermediateItem(*recordItem_);
    }
    if (delegate) {
        delegate->meetingRecordConverterDidStopConvertingRecordItem(*this, recordItem_);
    }
}

void KTRMeetingRecordConverter::deleteIntermediateItem(const KTRMeetingRecordItem& item) {
    constexpr const char* method = "-[KTRMeetingRecordConverter deleteIntermediateItem:]";
    MacInfoTrace2("RecordConverter", "%s: ", method);
    bool isDirectory = false;
    if (!fileManager_.fileExistsAtPath(item.srcPath(), &isDirectory) || isDirectory) {
        MacWarnTrace2("RecordConverter", "%s: file not found.", method);
        return;
    }
    if (const auto error = fileManager_.removeItemAtPath(item.srcPath())) {
        MacErrorTrace2("RecordConverter", "%s: %s", method, error->c_str());
    }
}

void RecordConverterReportProgress(void* converter, float progress) {
    static_cast<KTRMeetingRecordConverter*>(converter)->reportConvertingProgress(progress);
}

void RecordConverterReportError(void* converter, int error) {
    static_cast<KTRMeetingRecordConverter*>(converter)->reportConvertingError(error);
}
