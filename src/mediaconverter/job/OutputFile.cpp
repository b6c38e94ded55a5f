#include "mediaconverter/job/OutputFile.h"

#include "mediaconverter/IZedMediaConverterDestination.h"
#include "mediaconverter/job/HiddenFiles.h"
#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/Privacy.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>

namespace mediaconverter {

namespace {

using enum ConversionError;

ConversionError errorOfFolder(int number) {
    switch (number) {
    case ENOENT:
    case ENOTDIR:
        return folderMissing;
    case EACCES:
    case EPERM:
        return folderNotWritable;
    default:
        return errorOfStoring(number, destinationNotOpened);
    }
}

ConversionError errorOfPublishing(int number) {
    switch (number) {
    case EEXIST:
        return destinationExists;
    case EACCES:
        return folderNotWritable;
    default:
        return errorOfStoring(number, publishFailed);
    }
}

}  // namespace

OutputFile::OutputFile(const std::string& destination, const SourceFile& source) {
    const std::string path = FittingDestination(destination);
    const auto slash = path.rfind('/');
    name_ = slash == std::string::npos ? path : path.substr(slash + 1);
    openFolder(slash == std::string::npos ? "." : path.substr(0, slash + 1));
    if (name_.empty()) {
        throw JobFailure(destinationExists, "it is a folder");
    }
    struct stat present = {};
    if (::fstatat(folder_.get(), name_.c_str(), &present, AT_SYMLINK_NOFOLLOW) == 0) {
        throw JobFailure(destinationExists);
    }
    if (errno != ENOENT) {
        throw JobFailure::ofSystem(errorOfFolder(errno), errno);
    }
    makeUnnamed();
    if (!descriptor_) {
        makeHidden();
    }
    if (::fstat(descriptor_.get(), &identity_) != 0) {
        throw JobFailure::ofSystem(destinationNotOpened, errno);
    }
    limitation_ = copyAccess(source.descriptor(), source.status(), descriptor_.get());
}

void OutputFile::openFolder(const std::string& folder) {
    folder_ = UniqueDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder_ && errno == EACCES) {  // a folder that may be written to but not listed
        folder_ = UniqueDescriptor(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    if (!folder_) {
        throw JobFailure::ofSystem(errorOfFolder(errno), errno);
    }
}

OutputFile::~OutputFile() {
    if (!hiddenName_.empty()) {
        ::unlinkat(folder_.get(), hiddenName_.c_str(), 0);
        hiddenfiles::forget(folder_.get(), hiddenName_);
    }
}

void OutputFile::makeUnnamed() {
    descriptor_ = UniqueDescriptor(::openat(folder_.get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (descriptor_) {
        return;
    }
    // These errors mean that the file system or the kernel has no unnamed files.
    if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL && errno != ENOENT && errno != ENOSYS) {
        throw JobFailure::ofSystem(errorOfFolder(errno), errno);
    }
}

void OutputFile::makeHidden() {
    auto made = hiddenfiles::make(folder_.get());
    if (!made.descriptor) {
        throw JobFailure::ofSystem(errorOfFolder(errno), errno);
    }
    descriptor_ = std::move(made.descriptor);
    hiddenName_ = std::move(made.name);
}

void OutputFile::sync(const struct stat& source) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, source.st_mtim};
    static_cast<void>(::futimens(descriptor_.get(), times));
    if (::fsync(descriptor_.get()) != 0) {
        throw JobFailure::ofSystem(errorOfStoring(errno, syncFailed), errno);
    }
    // Network file systems report late errors when a descriptor is closed, and the name must not be given before that.
    UniqueDescriptor copy(::fcntl(descriptor_.get(), F_DUPFD_CLOEXEC, 0));
    if (!copy || !copy.close()) {
        throw JobFailure::ofSystem(closeFailed, errno);
    }
}

void OutputFile::publish() {
    if (hiddenName_.empty()) {
        linkUnnamed();
    } else {
        renameHidden();
    }
    if (!descriptor_.close()) {
        const int number = errno;
        withdrawName();
        throw JobFailure::ofSystem(closeFailed, number);
    }
    // Some file systems cannot sync a folder (EINVAL), and a folder that may not be listed cannot be opened for it
    // (EBADF); those names are as safe as they can be.
    if (::fsync(folder_.get()) != 0 && errno != EINVAL && errno != EBADF) {
        const int number = errno;
        withdrawName();
        throw JobFailure::ofSystem(syncFailed, number);
    }
}

void OutputFile::linkUnnamed() {
    char path[64];
    static_cast<void>(std::snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor_.get()));
    if (::linkat(AT_FDCWD, path, folder_.get(), name_.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        return;
    }
    int number = errno;
    // Without /proc there is a direct call, which some kernels refuse to some users.
    if (number == ENOENT) {
        if (::linkat(descriptor_.get(), "", folder_.get(), name_.c_str(), AT_EMPTY_PATH) == 0) {
            return;
        }
        number = errno;
    }
    throw JobFailure::ofSystem(errorOfPublishing(number), number);
}

void OutputFile::renameHidden() {
    const char* const hidden = hiddenName_.c_str();
    if (::renameat2(folder_.get(), hidden, folder_.get(), name_.c_str(), RENAME_NOREPLACE) != 0) {
        if (errno != EINVAL && errno != ENOSYS) {
            throw JobFailure::ofSystem(errorOfPublishing(errno), errno);
        }
        if (::linkat(folder_.get(), hidden, folder_.get(), name_.c_str(), 0) == 0) {
            ::unlinkat(folder_.get(), hidden, 0);
        } else if (errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS) {
            renameOverPlaceholder();
        } else {
            throw JobFailure::ofSystem(errorOfPublishing(errno), errno);
        }
    }
    hiddenfiles::forget(folder_.get(), hiddenName_);
    hiddenName_.clear();
}

void OutputFile::renameOverPlaceholder() {
    // Neither a rename that replaces nothing nor links: an empty file of our own holds the name for a moment.
    UniqueDescriptor placeholder(
        ::openat(folder_.get(), name_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!placeholder) {
        throw JobFailure::ofSystem(errorOfPublishing(errno), errno);
    }
    static_cast<void>(placeholder.close());
    if (::renameat(folder_.get(), hiddenName_.c_str(), folder_.get(), name_.c_str()) != 0) {
        const int number = errno;
        ::unlinkat(folder_.get(), name_.c_str(), 0);
        throw JobFailure::ofSystem(errorOfPublishing(number), number);
    }
}

void OutputFile::withdrawName() {
    struct stat named = {};
    if (::fstatat(folder_.get(), name_.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && named.st_dev == identity_.st_dev &&
        named.st_ino == identity_.st_ino) {
        ::unlinkat(folder_.get(), name_.c_str(), 0);
    }
}

}  // namespace mediaconverter
