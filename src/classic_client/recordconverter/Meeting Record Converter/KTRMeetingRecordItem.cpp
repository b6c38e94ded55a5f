#include "KTRMeetingRecordItem.h"

#include "platform/FileManager.h"
#include "platform/PathOperations.h"

#include <string_view>
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
    const auto [folder, name] = platform::splitLastPathComponent(srcPath_);
    auto baseName = platform::deletingPathExtension(name);
    // Recorders that write "talk.mp4.tmp" mean talk.mp4; any other inner extension is part of the name.
    if (platform::pathExtension(baseName) == "mp4") {
        baseName = platform::deletingPathExtension(baseName);
    }
    std::string candidate;
    candidate.reserve(srcPath_.size() + std::string_view("(9999).mp4").size());
    candidate += folder;
    candidate += '/';
    candidate += baseName;
    const auto stemSize = candidate.size();

    candidate += ".mp4";
    for (std::int64_t counter = 1; fileManager_.fileExistsAtPath(candidate, nullptr); ++counter) {
        candidate.resize(stemSize);
        candidate.append(1, '(').append(std::to_string(counter)).append(").mp4");
    }
    dstPath_ = std::move(candidate);
}
