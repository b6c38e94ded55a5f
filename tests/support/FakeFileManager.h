#pragma once

#include "platform/FileManager.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace test {

/// A file system of names only. Any thread.
class FakeFileManager final : public platform::FileManager {
public:
    void addFile(const std::string& path);
    void addFolder(const std::string& path);

    /// Removing `path` fails with `description` from now on.
    void failRemoving(const std::string& path, const std::string& description);

    /// Every path passed to the removal, in order, including failures.
    std::vector<std::string> removed() const;

    bool fileExistsAtPath(const std::string& path, bool* isDirectory) const override;
    std::optional<std::string> removeItemAtPath(const std::string& path) override;

private:
    mutable std::mutex mutex_;
    std::map<std::string, bool> isFolder_;
    std::map<std::string, std::string> failures_;
    std::vector<std::string> removed_;
};

}  // namespace test
