#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace recordkeeping {

/// Makes folders whose names survive a power cut once they have been synced. Any thread.
class MadeFolders final {
public:
    /// Makes `path`, an absolute one, and what is missing above it, for this user alone.
    void make(const std::string& path);

    /// Brings the names of all folders that were made to the disk.
    void sync();

private:
    void makeOne(const std::string& path);

    std::mutex mutex_;
    /// Those that have got a new name.
    std::vector<std::string> unsynced_;
};

}  // namespace recordkeeping
