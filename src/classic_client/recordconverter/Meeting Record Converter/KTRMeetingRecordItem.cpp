#include "KTRMeetingRecordItem.h"

#include "platform/FileManager.h"
#include "platform/PathOperations.h"

#include <utility>

KTRMeetingRecordItem::KTRMeetingRecordItem(std::int32_t originatingProcessId, std::string sourcePath,
                                           const platform::FileManager& fileManager)
    : pid_(originatingProcessId), srcPath_(std::move(sourcePath)), fileManager_(fileManager) {
    createDstPath();
}

void KTRMeetingRecordItem::setDstPath(std::string path) {
    dstPath_ = std::move(path);
}

void KTRMeetingRecordItem::createDstPath() {
    std::string baseName = platform::deletingPathExtension(platform::lastPathComponent(srcPath_));
    // Recorders that write "talk.mp4.tmp" mean talk.mp4; any other inner extension is part of the name.
    if (platform::pathExtension(baseName) == "mp4") {
        baseName = platform::deletingPathExtension(baseName);
    }
    const std::string stem = platform::deletingLastPathComponent(srcPath_) + '/' + baseName;

    std::string candidate = stem + ".mp4";
    for (std::int64_t counter = 1; fileManager_.fileExistsAtPath(candidate, nullptr); ++counter) {
        candidate = stem + '(' + std::to_string(counter) + ").mp4";
    }
    dstPath_ = std::move(candidate);
}
