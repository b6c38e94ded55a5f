#pragma once

#include "KTRMeetingRecordItem.h"
#include "support/FakeFileManager.h"

#include <memory>
#include <string>

namespace test {

/// An item of process 7 whose recording exists.
inline std::shared_ptr<KTRMeetingRecordItem> itemFor(const std::string& path, FakeFileManager& fileManager) {
    fileManager.addFile(path);
    return std::make_shared<KTRMeetingRecordItem>(7, path, fileManager);
}

}  // namespace test
