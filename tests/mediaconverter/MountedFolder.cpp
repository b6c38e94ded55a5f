#include "mediaconverter/MountedFolder.h"

#include "mediaconverter/Samples.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace mediatest {

namespace {

constexpr const char* filler = "filler";

void run(const std::vector<std::string>& command) {
    if (const int status = runQuietly(command); status != 0) {
        throw std::runtime_error(command.front() + " ended with " + std::to_string(status));
    }
}

void makeSparse(const std::string& path, std::int64_t bytes) {
    writeFile(path, "");
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(bytes));
}

}  // namespace

bool MountedFolder::isPermitted() {
    // Recursively private: later mounts are visible nowhere else.
    static const bool permitted =
        ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    return permitted;
}

MountedFolder::MountedFolder(const std::string& kind, std::int64_t bytes) : path_(folder_.file("mounted")) {
    if (!isPermitted()) {
        throw std::runtime_error("mounting is not permitted");
    }
    std::filesystem::create_directory(path_);
    if (kind == "tmpfs") {
        const std::string size = "size=" + std::to_string(bytes);
        if (::mount("tmpfs", path_.c_str(), "tmpfs", 0, size.c_str()) != 0) {
            throw std::system_error(errno, std::generic_category(), "mount");
        }
        return;
    }
    mountImage(kind, bytes);
}

void MountedFolder::mountImage(const std::string& kind, std::int64_t bytes) {
    const std::string image = folder_.file("image");
    makeSparse(image, bytes);
    if (kind == "exfat") {
        run({"mkfs.exfat", image});
        mountThroughFuse(image);
        return;
    }
    const std::map<std::string, std::vector<std::string>> makers = {
        {"ext4", {"mkfs.ext4", "-q", "-m", "0"}},
        {"xfs", {"mkfs.xfs", "-q", "-f"}},
        {"btrfs", {"mkfs.btrfs", "-q", "-f", "-M", "-m", "single", "-d", "single"}}};
    std::vector<std::string> maker = makers.at(kind);
    maker.push_back(image);
    run(maker);
    run({"mount", "-t", kind, "-o", "loop", image, path_});
}

// The last process of a mount namespace unmounts what is left there. If that were the file system's own process, it
// would wait for itself forever, and so would every sync of the machine. So it must end before this process, or on
// request.
void MountedFolder::mountThroughFuse(const std::string& image) {
    loopDevice_ = linesOf(outputOf({"losetup", "--find", "--show", image})).at(0);
    fileSystem_ = std::make_unique<Process>(
        std::vector<std::string>{"setpriv", "--pdeathsig", "TERM", "mount.exfat-fuse", "-d", loopDevice_, path_});
    for (int i = 0; i < 1000 && !isMounted(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (!isMounted()) {
        throw std::runtime_error("mount.exfat-fuse did not mount");
    }
}

bool MountedFolder::isMounted() const {
    struct stat mounted = {};
    struct stat parent = {};
    return ::stat(path_.c_str(), &mounted) == 0 && ::stat((path_ + "/..").c_str(), &parent) == 0 &&
           mounted.st_dev != parent.st_dev;
}

MountedFolder::~MountedFolder() {
    ::umount2(path_.c_str(), MNT_DETACH);
    if (fileSystem_) {
        fileSystem_->signal(SIGTERM);
        fileSystem_->wait();
    }
    if (!loopDevice_.empty()) {
        static_cast<void>(runQuietly({"losetup", "--detach", loopDevice_}));
    }
}

std::vector<std::string> MountedFolder::names() const {
    std::vector<std::string> names;
    // FUSE keeps a file that was removed while open under such a name until it learns of the close, which is after
    // close() has returned.
    const auto isOnItsWay = [](const std::string& name) { return name.rfind(".fuse_hidden", 0) == 0; };
    for (int i = 0; i < 200; ++i) {
        names.clear();
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            names.push_back(entry.path().filename().string());
        }
        if (std::none_of(names.begin(), names.end(), isOnItsWay)) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    std::erase_if(names, [](const std::string& name) { return name == filler || name == "lost+found"; });
    std::sort(names.begin(), names.end());
    return names;
}

std::int64_t MountedFolder::freeBytes() const {
    struct statvfs space = {};
    if (::statvfs(path_.c_str(), &space) != 0) {
        throw std::system_error(errno, std::generic_category(), "statvfs");
    }
    return static_cast<std::int64_t>(space.f_bavail) * static_cast<std::int64_t>(space.f_frsize);
}

void MountedFolder::leaveFree(std::int64_t bytes) const {
    constexpr std::int64_t step = std::int64_t{128} * 1024;
    // If the file system cannot allocate, the C library first reads what it fills.
    const int descriptor = ::open(file(filler).c_str(), O_CREAT | O_RDWR | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0 && errno == ENOSPC) {
        // There is not even room for a name: it is full already.
        return;
    }
    int failed = descriptor < 0 ? errno : 0;
    // Not all free bytes are available: the file system needs some itself.
    for (std::int64_t length = freeBytes() - bytes; descriptor >= 0 && length > 0; length -= step) {
        failed = ::posix_fallocate(descriptor, 0, length);
        if (failed != ENOSPC) {
            break;
        }
    }
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    if (failed != 0 && failed != ENOSPC) {
        throw std::system_error(failed, std::generic_category(), "filling");
    }
}

void MountedFolder::makeReadOnly() const {
    if (::mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "remount");
    }
}

}  // namespace mediatest
