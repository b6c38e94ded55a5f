#include "mediaconverter/job/SourceFile.h"

#include "mediaconverter/job/FileIdentity.h"
#include "mediaconverter/job/JobFailure.h"

#include <cerrno>
#include <fcntl.h>

namespace mediaconverter {

namespace {

using enum ConversionError;

ConversionError errorOfOpening(int number) {
    switch (number) {
    case ENOENT:
    case ENOTDIR:
        return sourceMissing;
    case EACCES:
    case EPERM:
        return sourceNotPermitted;
    case ELOOP:
        return sourceLinkLoop;
    case ENAMETOOLONG:
        return sourceNameTooLong;
    case ENXIO:  // a socket
    case ENODEV:
        return sourceNotRegular;
    default:
        return sourceNotOpened;
    }
}

}  // namespace

SourceFile::SourceFile(std::string path) : path_(std::move(path)) {
    // Opening a device can have side effects (a tape rewinds), so its type is checked first. The opened file is checked
    // again, because the name may lead elsewhere by then.
    if (::stat(path_.c_str(), &status_) == 0 && !S_ISREG(status_.st_mode)) {
        throw JobFailure(sourceNotRegular);
    }
    descriptor_ = UniqueDescriptor(::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!descriptor_) {
        throw JobFailure::ofSystem(errorOfOpening(errno), errno);
    }
    if (::fstat(descriptor_.get(), &status_) != 0) {
        throw JobFailure::ofSystem(sourceNotOpened, errno);
    }
    if (!S_ISREG(status_.st_mode)) {
        throw JobFailure(sourceNotRegular);
    }
}

void SourceFile::readState() {
    if (::fstat(descriptor_.get(), &status_) != 0) {
        throw JobFailure::ofSystem(sourceNotOpened, errno);
    }
    if (status_.st_size == 0) {
        throw JobFailure(sourceEmpty);
    }
}

void SourceFile::requireUnchanged() const {
    struct stat opened = {};
    struct stat named = {};
    if (::fstat(descriptor_.get(), &opened) != 0 || ::stat(path_.c_str(), &named) != 0) {
        throw JobFailure::ofSystem(sourceChanged, errno);
    }
    if (!isSameContent(opened, status_) || !isSameContent(named, status_)) {
        throw JobFailure(sourceChanged);
    }
}

}  // namespace mediaconverter
