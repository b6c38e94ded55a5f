#pragma once

#include <cstdint>
#include <string>

namespace platform {
class FileManager;
}

/// One conversion job: a recording, the process that wrote it and the MP4 to be made of it. Shared by everything that
/// handles the job; items are compared by identity. Ids and source never change, so any thread may read them.
class KTRMeetingRecordItem {
public:
    /// Chooses the destination at once. Does not check that the source exists or that its path is absolute.
    KTRMeetingRecordItem(std::int32_t originatingProcessId, std::string sourcePath,
                         const platform::FileManager& fileManager);

    KTRMeetingRecordItem(const KTRMeetingRecordItem&) = delete;
    KTRMeetingRecordItem& operator=(const KTRMeetingRecordItem&) = delete;

    std::int32_t pid() const { return pid_; }
    const std::string& srcPath() const { return srcPath_; }

    /// In the source's folder, ending in ".mp4"; no file of that name existed when the item was created. The name is
    /// not reserved: two items with the same base name get the same one until the first file exists.
    const std::string& dstPath() const { return dstPath_; }
    void setDstPath(std::string path);

    /// Computes and stores the destination. The constructor calls it.
    void createDstPath();

private:
    const std::int32_t pid_;
    const std::string srcPath_;
    std::string dstPath_;
    const platform::FileManager& fileManager_;
};
