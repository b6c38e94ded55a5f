#include "KTRMeetingAppRepresentative.h"

#include "TraceText.h"
#include "unifiedtram/unifiedtram.h"

KTRMeetingAppRepresentative::KTRMeetingAppRepresentative(std::int32_t meetingAppProcessId)
    : appPID_(meetingAppProcessId) {
    MacInfoTrace2("RecordConverter", "%s: pid = %d", "-[KTRMeetingAppRepresentative initWithMeetingAppProcessId:]",
                  appPID_);
}

std::optional<std::string>
KTRMeetingAppRepresentative::startsLocalRecordingWithIntermediateFile(const std::optional<std::string>& path) {
    constexpr const char* method = "-[KTRMeetingAppRepresentative startsLocalRecordingWithIntermediateFile:]";
    if (writingFile_) {
        MacWarnTrace2("RecordConverter", "%s: Can't start before previous writing is stopped.", method);
        return std::nullopt;
    }
    MacInfoTrace2("RecordConverter", "%s: path = %s", method, traceText(path));
    writingFile_ = path;
    return writingFile_;
}

std::optional<std::string> KTRMeetingAppRepresentative::stopsLocalRecording() {
    MacInfoTrace2("RecordConverter", "%s: ", "-[KTRMeetingAppRepresentative stopsLocalRecording]");
    auto path = writingFile_;
    doneWithWriting();
    return path;
}

void KTRMeetingAppRepresentative::doneWithWriting() {
    if (writingFile_) {
        writtenFiles_.push_back(*writingFile_);
        writingFile_.reset();
    }
}

void KTRMeetingAppRepresentative::convertRecords() {
    if (const auto delegate = delegate_.lock()) {
        const std::vector<std::string> records = writtenFiles_;
        delegate->meetingAppRepresentativeRequestsToConvertRecords(*this, records);
    }
}

void KTRMeetingAppRepresentative::commencesConverting() {
    MacInfoTrace2("RecordConverter", "%s: pid = %d", "-[KTRMeetingAppRepresentative commencesConverting]", appPID_);
    doneWithWriting();
    convertRecords();
}

void KTRMeetingAppRepresentative::retire() {
    MacInfoTrace2("RecordConverter", "%s: ", "-[KTRMeetingAppRepresentative retire]");
    if (const auto delegate = delegate_.lock()) {
        delegate->meetingAppRepresentativeDidRetire(*this);
    }
}
