#include "KTRMeetingRecordConverter.h"

#include "KTRMeetingRecordItem.h"
#include "ZEDMediaConverterProxy.h"
#include "platform/FileManager.h"
#include "unifiedtram/unifiedtram.h"

#include <utility>

KTRMeetingRecordConverter::KTRMeetingRecordConverter(platform::FileManager& fileManager)
    : fileManager_(fileManager), converterProxy_(std::make_unique<ZEDMediaConverterProxy>(this)) {}

KTRMeetingRecordConverter::~KTRMeetingRecordConverter() {
    // Comes first: until the media converter is released, its callbacks use the other members.
    converterProxy_.reset();
}

void KTRMeetingRecordConverter::convertsRecordItem(std::shared_ptr<KTRMeetingRecordItem> item) {
    if (!converterProxy_) {
        return;
    }
    recordItem_ = std::move(item);
    reportConvertingStarted();
    // A report may make the runner start the next item, on another thread, before this one has returned.
    const auto converted = recordItem_;
    converterProxy_->ConvertRecord(converted->srcPath().c_str(), converted->dstPath().c_str());
}

void KTRMeetingRecordConverter::reportConvertingStarted() {
    if (const auto delegate = delegate_.lock()) {
        const auto item = recordItem_;
        delegate->meetingRecordConverterDidStartConvertingRecordItem(*this, item);
    }
}

void KTRMeetingRecordConverter::reportConvertingProgress(float progress) {
    if (const auto delegate = delegate_.lock()) {
        const auto item = recordItem_;
        delegate->meetingRecordConverterUpdatesConvertingProgressForRecordItem(*this, double{progress}, item);
    }
    if (progress >= 100.0F) {
        reportConvertingStopped();
    }
}

void KTRMeetingRecordConverter::reportConvertingError(int error) {
    if (const auto delegate = delegate_.lock()) {
        const auto item = recordItem_;
        delegate->meetingRecordConverterHitsConvertingErrorForRecordItem(*this, error, item);
    }
}

void KTRMeetingRecordConverter::reportConvertingStopped() {
    const auto delegate = delegate_.lock();
    const auto item = recordItem_;
    if (!delegate || !delegate->meetingRecordConverterShouldKeepIntermediateItem(*this, item)) {
        deleteIntermediateItem(*item);
    }
    if (delegate) {
        delegate->meetingRecordConverterDidStopConvertingRecordItem(*this, item);
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
