#include "mediaconverter/worker/sharing/PayloadMove.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/accounting/ByteRanges.h"
#include "mediaconverter/worker/confinement/StatOf.h"
#include "mediaconverter/worker/writing/BlockWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <linux/fs.h>
#include <memory>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>

namespace worker {

namespace {

/// For the worker's own copying, and for the kernel's, which is not asked to stop within a step.
constexpr std::int64_t step = std::int64_t{4} << 20U;
constexpr std::int64_t kernelStep = std::int64_t{16} << 20U;

[[noreturn]] void failToWrite(int number) {
    throw Failure(mediaconverter::errorOfWriting(number), std::generic_category().message(number));
}

/// Errors that another movement would meet as well.
bool isFinal(int number) {
    return number == ENOSPC || number == EDQUOT || number == EFBIG;
}

bool share(int source, int output, std::int64_t at, std::int64_t length) {
    file_clone_range range = {};
    range.src_fd = source;
    range.src_length = static_cast<std::uint64_t>(length);
    range.dest_offset = static_cast<std::uint64_t>(at);
    int result = 0;
    do {
        result = ::ioctl(output, FICLONERANGE, &range);
    } while (result != 0 && errno == EINTR);
    if (result != 0 && isFinal(errno)) {
        failToWrite(errno);
    }
    return result == 0;
}

/// Returns the number of bytes copied before the kernel refused.
std::int64_t copyByKernel(int source, int output, std::int64_t at, std::int64_t length,
                          const std::atomic<bool>& stops) {
    std::int64_t done = 0;
    while (done < length && !stops) {
        off64_t from = done;
        off64_t to = at + done;
        const ssize_t got = ::copy_file_range(source, &from, output, &to,
                                              static_cast<std::size_t>(std::min(kernelStep, length - done)), 0);
        if (got < 0 && isFinal(errno)) {
            failToWrite(errno);
        }
        if (got <= 0 && !(got < 0 && errno == EINTR)) {
            break;
        }
        done += std::max<ssize_t>(got, 0);
    }
    return done;
}

void copyByWorker(int source, int output, std::int64_t at, ByteRange range, const std::atomic<bool>& stops) {
    const auto block = std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(step));
    while (range.start < range.end && !stops) {
        const auto wanted = static_cast<std::size_t>(std::min(step, range.end - range.start));
        const ssize_t got = ::pread(source, block.get(), wanted, range.start);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            throw got == 0 ? Failure(ConversionError::sourceChanged, "it became shorter")
                           : Failure(ConversionError::readFailed, std::generic_category().message(errno));
        }
        if (const int number = writeAt(output, at + range.start, block.get(), static_cast<std::size_t>(got));
            number != 0) {
            failToWrite(number);
        }
        range.start += got;
    }
}

}  // namespace

bool canShareBlocks(int source, int output) {
    constexpr std::int64_t mostBlock = std::int64_t{64} * 1024;
    struct stat status = {};
    if (statOf(source, status) != 0) {
        throw Failure(ConversionError::readFailed, std::generic_category().message(errno));
    }
    const bool can = share(source, output, 0, std::min<std::int64_t>(status.st_size, mostBlock));
    if (can && ::ftruncate(output, 0) != 0) {
        failToWrite(errno);
    }
    return can;
}

void movePayload(int source, int output, std::int64_t at, std::int64_t length, const std::atomic<bool>& stops) {
    if (!share(source, output, at, length)) {
        const std::int64_t done = copyByKernel(source, output, at, length, stops);
        copyByWorker(source, output, at, {done, length}, stops);
    }
}

BackgroundMove::BackgroundMove(int source, int output, std::int64_t at, std::int64_t length)
    : thread_([this, source, output, at, length] {
          try {
              movePayload(source, output, at, length, stops_);
          } catch (...) {
              failure_ = std::current_exception();
          }
      }) {}

BackgroundMove::~BackgroundMove() {
    stops_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
}

void BackgroundMove::finish() {
    thread_.join();
    if (failure_) {
        std::rethrow_exception(failure_);
    }
}

}  // namespace worker
