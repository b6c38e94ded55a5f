#include "mediaconverter/job/DamagedSource.h"

#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/Privacy.h"
#include "mediaconverter/job/SecondName.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <vector>

namespace mediaconverter {

namespace {

using enum ConversionError;

bool writeAll(int descriptor, const char* bytes, std::size_t length) {
    while (length > 0) {
        const ssize_t written = ::write(descriptor, bytes, length);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            bytes += written;
            length -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

}  // namespace

DamagedSource::DamagedSource(const SourceFile& source) {
    for (int number = 1; number < 100; ++number) {
        path_ = secondName(source.path(), "damaged", number);
        if (linkTo(source, path_)) {
            syncFolder();
            return;
        }
        if (errno != EEXIST &&
            (errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS || errno == EMLINK || errno == EXDEV) &&
            copyTo(source, path_)) {
            syncFolder();
            return;
        }
        if (errno != EEXIST) {
            break;
        }
        // A second name that an earlier conversion of the same file left will do.
        struct stat present = {};
        if (::stat(path_.c_str(), &present) == 0 && present.st_dev == source.status().st_dev &&
            present.st_ino == source.status().st_ino) {
            kept_ = true;
            return;
        }
    }
    throw JobFailure::ofSystem(damagedCopyNotKept, errno);
}

DamagedSource::~DamagedSource() {
    if (!kept_) {
        ::unlink(path_.c_str());
    }
}

void DamagedSource::syncFolder() const {
    const auto slash = path_.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
    const UniqueDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // If the folder may not be listed or cannot be synced, its names are as safe as they can be.
    if (opened && ::fsync(opened.get()) != 0 && errno != EINVAL) {
        const int number = errno;
        ::unlink(path_.c_str());
        throw JobFailure::ofSystem(damagedCopyNotKept, number);
    }
}

bool DamagedSource::linkTo(const SourceFile& source, const std::string& path) {
    char opened[64];
    static_cast<void>(std::snprintf(opened, sizeof opened, "/proc/self/fd/%d", source.descriptor()));
    return ::linkat(AT_FDCWD, opened, AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

bool DamagedSource::copyTo(const SourceFile& source, const std::string& path) {
    UniqueDescriptor copy(::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!copy) {
        return false;
    }
    static_cast<void>(copyAccess(source.descriptor(), source.status(), copy.get()));
    std::vector<char> block(std::size_t{1} << 20U);
    off_t position = 0;
    bool fine = true;
    while (fine && position < source.status().st_size) {
        const ssize_t got = ::pread(source.descriptor(), block.data(), block.size(), position);
        const bool again = got < 0 && errno == EINTR;
        fine = again || (got > 0 && writeAll(copy.get(), block.data(), static_cast<std::size_t>(got)));
        position += got > 0 ? got : 0;
    }
    fine = fine && ::fsync(copy.get()) == 0 && copy.close();
    if (!fine) {
        const int number = errno;
        ::unlink(path.c_str());
        errno = number == EEXIST ? EIO : number;
    }
    return fine;
}

}  // namespace mediaconverter
