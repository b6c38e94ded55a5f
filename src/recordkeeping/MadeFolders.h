#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace recordkeeping {

/// Creates folders whose names survive a power cut once they have been synced. Any thread.
class MadeFolders final {
public:
    /// Creates `path`, which must be absolute, and its missing parents, for this user only.
    void make(const std::string& path);

    /// Syncs the names of all folders that were created.
    void sync();

private:
    void makeOne(const std::string& path);

    std::mutex mutex_;
    /// Folders that hold a new name.
    std::vector<std::string> unsynced_;
};

}  // namespace recordkeeping
