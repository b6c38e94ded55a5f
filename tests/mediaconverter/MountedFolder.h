#pragma once

#include "mediaconverter/Processes.h"
#include "support/TemporaryFolder.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace mediatest {

/// A separate file system, mounted where only this process and its children see it, and gone when this process ends.
class MountedFolder {
public:
    /// Whether this process may mount; the first call moves it into a mount namespace of its own.
    static bool isPermitted();

    /// `kind` is "tmpfs", "ext4", "xfs", "btrfs" or "exfat" (through FUSE: no unnamed files, no links, no rename that
    /// replaces nothing). Throws if it cannot be created.
    MountedFolder(const std::string& kind, std::int64_t bytes);
    ~MountedFolder();

    MountedFolder(const MountedFolder&) = delete;
    MountedFolder& operator=(const MountedFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

    /// The names in it, except the file system's own.
    std::vector<std::string> names() const;

    /// Leaves about this many bytes free.
    void leaveFree(std::int64_t bytes) const;

    std::int64_t freeBytes() const;

    /// Makes it read-only from here on.
    void makeReadOnly() const;

private:
    void mountImage(const std::string& kind, std::int64_t bytes);
    void mountThroughFuse(const std::string& image);
    bool isMounted() const;

    test::TemporaryFolder folder_;
    std::string path_;
    std::string loopDevice_;
    std::unique_ptr<Process> fileSystem_;
};

}  // namespace mediatest
