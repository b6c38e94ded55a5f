#include "mediaconverter/worker/writing/OutputSpace.h"

#include "mediaconverter/worker/Failure.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <system_error>

namespace worker {

using enum ConversionError;

void reserveSpace(int output, std::int64_t size) {
    struct statvfs space = {};
    // Reserved if the file system can; unused room is returned at the end.
    if (::fallocate(output, FALLOC_FL_KEEP_SIZE, 0, size) == 0) {
        return;
    }
    const int number = errno;
    if (number != EOPNOTSUPP && number != ENOSYS && number != EINTR) {
        throw Failure(mediaconverter::errorOfWriting(number), std::generic_category().message(number));
    }
    if (::fstatvfs(output, &space) == 0 &&
        static_cast<double>(space.f_bavail) * static_cast<double>(space.f_frsize) < static_cast<double>(size)) {
        throw Failure(diskFull, "the recording alone needs " + std::to_string(size) + " bytes");
    }
}

}  // namespace worker
