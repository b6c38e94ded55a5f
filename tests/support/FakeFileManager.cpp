#include "support/FakeFileManager.h"

namespace test {

void FakeFileManager::addFile(const std::string& path) {
    const std::lock_guard lock(mutex_);
    isFolder_[path] = false;
}

void FakeFileManager::addFolder(const std::string& path) {
    const std::lock_guard lock(mutex_);
    isFolder_[path] = true;
}

void FakeFileManager::failRemoving(const std::string& path, const std::string& description) {
    const std::lock_guard lock(mutex_);
    failures_[path] = description;
}

std::vector<std::string> FakeFileManager::removed() const {
    const std::lock_guard lock(mutex_);
    return removed_;
}

bool FakeFileManager::fileExistsAtPath(const std::string& path, bool* isDirectory) const {
    const std::lock_guard lock(mutex_);
    const auto found = isFolder_.find(path);
    if (isDirectory != nullptr) {
        *isDirectory = found != isFolder_.end() && found->second;
    }
    return found != isFolder_.end();
}

std::optional<std::string> FakeFileManager::removeItemAtPath(const std::string& path) {
    const std::lock_guard lock(mutex_);
    removed_.push_back(path);
    if (const auto failure = failures_.find(path); failure != failures_.end()) {
        return failure->second;
    }
    if (isFolder_.erase(path) == 0) {
        return "No such file or directory";
    }
    return std::nullopt;
}

}  // namespace test
