#include "recordkeeping/MadeFolders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace recordkeeping {

void MadeFolders::make(const std::string& path) {
    const std::lock_guard lock(mutex_);
    for (auto slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        makeOne(path.substr(0, slash));
    }
    makeOne(path);
}

void MadeFolders::makeOne(const std::string& path) {
    if (::mkdir(path.c_str(), 0700) == 0) {
        unsynced_.push_back(path.substr(0, path.rfind('/') + 1));
    }
}

void MadeFolders::sync() {
    std::vector<std::string> folders;
    {
        const std::lock_guard lock(mutex_);
        folders.swap(unsynced_);
    }
    for (const auto& folder : folders) {
        const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor >= 0) {
            ::fsync(descriptor);
            ::close(descriptor);
        }
    }
}

}  // namespace recordkeeping
