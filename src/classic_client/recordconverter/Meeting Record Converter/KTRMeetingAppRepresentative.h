#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class KTRMeetingAppRepresentative;

class KTRMeetingAppRepresentativeDelegate {
public:
    virtual ~KTRMeetingAppRepresentativeDelegate() = default;

    /// These files are to be converted, oldest first; the list may be empty.
    virtual void meetingAppRepresentativeRequestsToConvertRecords(KTRMeetingAppRepresentative&,
                                                                  const std::vector<std::string>& /*paths*/) {}
    virtual void meetingAppRepresentativeDidRetire(KTRMeetingAppRepresentative&) {}
};

/// Represents one meeting process: the file it writes now and the files it has written. An accepted path is never
/// dropped. Owned by the meeting pool, to which it reports. Main thread.
class KTRMeetingAppRepresentative {
public:
    explicit KTRMeetingAppRepresentative(std::int32_t meetingAppProcessId);

    KTRMeetingAppRepresentative(const KTRMeetingAppRepresentative&) = delete;
    KTRMeetingAppRepresentative& operator=(const KTRMeetingAppRepresentative&) = delete;

    std::shared_ptr<KTRMeetingAppRepresentativeDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRMeetingAppRepresentativeDelegate>& delegate) { delegate_ = delegate; }

    /// The process now writes to `path`, which is returned. While another file is still being written, `path` is
    /// ignored and the result is absent.
    std::optional<std::string> startsLocalRecordingWithIntermediateFile(const std::optional<std::string>& path);

    /// The file being written is complete. Returns its path; absent if none was being written.
    std::optional<std::string> stopsLocalRecording();

    /// Moves the file being written, if any, to the written files.
    void doneWithWriting();

    /// Asks the delegate to convert all written files, even if there are none.
    void convertRecords();

    /// The process is done: a file still being written counts as written, and all files are to be converted.
    void commencesConverting();

    void retire();

    std::int32_t appPID() const { return appPID_; }
    const std::optional<std::string>& writingFile() const { return writingFile_; }
    void setWritingFile(std::optional<std::string> path) { writingFile_ = std::move(path); }
    const std::vector<std::string>& writtenFiles() const { return writtenFiles_; }
    void setWrittenFiles(std::vector<std::string> paths) { writtenFiles_ = std::move(paths); }

private:
    const std::int32_t appPID_;
    std::optional<std::string> writingFile_;
    std::vector<std::string> writtenFiles_;
    std::weak_ptr<KTRMeetingAppRepresentativeDelegate> delegate_;
};
