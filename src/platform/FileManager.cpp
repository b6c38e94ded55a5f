#include "platform/FileManager.h"

#include <cerrno>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace platform {

bool PosixFileManager::fileExistsAtPath(const std::string& path, bool* isDirectory) const {
    struct stat itself {};
    const bool exists = ::lstat(path.c_str(), &itself) == 0;
    if (isDirectory != nullptr) {
        struct stat target {};
        *isDirectory = exists && ::stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode);
    }
    return exists;
}

std::optional<std::string> PosixFileManager::removeItemAtPath(const std::string& path) {
    if (::unlink(path.c_str()) == 0) {
        return std::nullopt;
    }
    const int error = errno;
    return "can't remove " + path + ": " + std::system_category().message(error);
}

}  // namespace platform
