#include "mediaconverter/job/Writers.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <sys/sysmacros.h>
#include <system_error>

namespace mediaconverter {

namespace {

namespace fs = std::filesystem;

/// Whether the kernel refuses a read lease, which it grants only while nothing can write. None if it gives no answer:
/// the file is another user's, or its file system has no leases.
std::optional<bool> isLeaseRefused(int descriptor) {
    // A process that opens the file for writing while the lease is held waits until it is released, a moment later. The
    // kernel announces that with a signal whose default action would end this process, so one that is ignored by
    // default replaces it.
    if (::fcntl(descriptor, F_SETSIG, SIGURG) != 0) {
        return std::nullopt;
    }
    if (::fcntl(descriptor, F_SETLEASE, F_RDLCK) == 0) {
        ::fcntl(descriptor, F_SETLEASE, F_UNLCK);
        return false;
    }
    return errno == EAGAIN ? std::optional(true) : std::nullopt;
}

bool isWritable(const fs::path& process, const std::string& descriptor) {
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

bool hasOpen(const fs::path& process, const struct stat& file) {
    std::error_code error;
    for (fs::directory_iterator descriptor(process / "fd", error), end; !error && descriptor != end;
         descriptor.increment(error)) {
        struct stat open = {};
        if (::stat(descriptor->path().c_str(), &open) == 0 && open.st_dev == file.st_dev &&
            open.st_ino == file.st_ino && isWritable(process, descriptor->path().filename())) {
            return true;
        }
    }
    return false;
}

std::string deviceOf(const struct stat& file) {
    char text[32];
    static_cast<void>(std::snprintf(text, sizeof text, "%02x:%02x", major(file.st_dev), minor(file.st_dev)));
    return text;
}

/// A shared mapping can still write after its descriptor has been closed. Lines are "from-to rw-s offset major:minor
/// inode …".
bool hasMapped(const fs::path& process, const struct stat& file) {
    std::ifstream mappings(process / "maps");
    for (std::string line; std::getline(mappings, line);) {
        std::istringstream fields(line);
        std::string range;
        std::string rights;
        std::string offset;
        std::string device;
        ino_t inode = 0;
        if (fields >> range >> rights >> offset >> device >> inode && inode == file.st_ino &&
            device == deviceOf(file) && rights.starts_with("rw") && rights.ends_with('s')) {
            return true;
        }
    }
    return false;
}

std::string nameOf(const fs::path& process) {
    std::ifstream file(process / "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

}  // namespace

bool isOpenForWriting(int descriptor) {
    if (const auto refused = isLeaseRefused(descriptor)) {
        return *refused;
    }
    struct stat file = {};
    return ::fstat(descriptor, &file) == 0 && !writersOf(file).empty();
}

std::vector<Writer> writersOf(const struct stat& file) {
    std::vector<Writer> found;
    std::error_code error;
    for (fs::directory_iterator process("/proc", error), end; !error && process != end; process.increment(error)) {
        const std::string name = process->path().filename();
        pid_t id = 0;
        const auto [rest, failure] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (failure == std::errc() && rest == name.data() + name.size() &&
            (hasOpen(process->path(), file) || hasMapped(process->path(), file))) {
            found.push_back({id, nameOf(process->path())});
        }
    }
    return found;
}

std::string textOf(const std::vector<Writer>& writers) {
    std::string text;
    for (const Writer& writer : writers) {
        text += (text.empty() ? "process " : ", process ") + std::to_string(writer.process) +
                (writer.name.empty() ? "" : " (" + writer.name + ")");
    }
    return text;
}

}  // namespace mediaconverter
