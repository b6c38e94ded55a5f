#include "tools/convert-recording/OpenForWriting.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

bool isOpenForWriting(const std::filesystem::path& process, const std::string& descriptor) {
    std::ifstream info(process / "fdinfo" / descriptor);
    for (std::string word; info >> word;) {
        if (word == "flags:" && info >> word) {
            int flags = 0;
            std::from_chars(word.data(), word.data() + word.size(), flags, 8);
            return (flags & O_ACCMODE) != O_RDONLY;
        }
    }
    return false;
}

bool isWriting(const std::filesystem::path& process, const struct stat& file) {
    std::error_code error;
    for (const auto& descriptor : std::filesystem::directory_iterator(process / "fd", error)) {
        struct stat open {};
        if (stat(descriptor.path().c_str(), &open) == 0 && open.st_dev == file.st_dev && open.st_ino == file.st_ino &&
            isOpenForWriting(process, descriptor.path().filename())) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::vector<pid_t> processesWriting(const std::string& path) {
    std::vector<pid_t> found;
    struct stat file {};
    if (stat(path.c_str(), &file) != 0) {
        return found;
    }
    std::error_code error;
    for (const auto& process : std::filesystem::directory_iterator("/proc", error)) {
        const std::string name = process.path().filename();
        pid_t pid = 0;
        const auto [end, failure] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (failure == std::errc() && end == name.data() + name.size() && isWriting(process.path(), file)) {
            found.push_back(pid);
        }
    }
    return found;
}
