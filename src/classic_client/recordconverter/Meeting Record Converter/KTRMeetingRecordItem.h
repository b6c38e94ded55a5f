#pragma once

#include <cstdint>
#include <string>

namespace platform {
class FileManager;
}

/// One conversion job: an intermediate file, the process that wrote it and the MP4 file to be made of it. Shared by
/// everyone who handles the job; items are told apart by identity. Ids and source never change, so any thread may read.
class KTRMeetingRecordItem {
public:
    /// Chooses the destination at once. Checks neither that the source exists nor that its path is absolute.
    KTRMeetingRecordItem(std::int32_t originatingProcessId, std::string sourcePath,
                         const platform::FileManager& fileManager);

    KTRMeetingRecordItem(const KTRMeetingRecordItem&) = delete;
    KTRMeetingRecordItem& operator=(const KTRMeetingRecordItem&) = delete;

    std::int32_t pid() const { return pid_; }
    const std::string& srcPath() const { return srcPath_; }

    /// In the source's folder, ending in ".mp4", and naming nothing that existed when the item was made. The name is
    /// not reserved: two items for one base name get the same one until the first file stands there.
    const std::string& dstPath() const { return dstPath_; }
    void setDstPath(std::string path);

    /// Computes and stores the destination. The constructor does it.
    void createDstPath();

private:
    const std::int32_t pid_;
    const std::string srcPath_;
    std::string dstPath_;
    const platform::FileManager& fileManager_;
};
