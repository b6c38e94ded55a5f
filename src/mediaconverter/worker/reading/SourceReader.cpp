#include "mediaconverter/worker/reading/SourceReader.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/confinement/StatOf.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace worker {

namespace {

/// Larger buffers gain nothing: the copy no longer fits the processor's cache, and larger packets bypass it anyway.
constexpr int bufferSize = 64 * 1024;

/// The first read after a seek: fragmented recordings keep audio and video apart, and a demuxer that seeks back and
/// forth discards what it does not need at once.
constexpr std::size_t firstStep = std::size_t{8} * 1024;

}  // namespace

SourceReader::SourceReader(int descriptor) : descriptor_(descriptor) {
    struct stat status = {};
    if (statOf(descriptor_, status) != 0) {
        throw Failure(ConversionError::readFailed, std::generic_category().message(errno));
    }
    size_ = status.st_size;
    end_ = size_;
    static_cast<void>(::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL));
    auto* const buffer = static_cast<unsigned char*>(present(av_malloc(bufferSize)));
    context_ = present(avio_alloc_context(buffer, bufferSize, 0, this, readCallback, nullptr, seekCallback));
}

SourceReader::~SourceReader() {
    av_freep(&context_->buffer);
    avio_context_free(&context_);
}

void SourceReader::requireNoError() const {
    if (error_ != 0) {
        throw Failure(ConversionError::readFailed, std::generic_category().message(error_));
    }
    if (shrunk_) {
        throw Failure(ConversionError::sourceChanged, "it became shorter");
    }
}

int SourceReader::readCallback(void* self, std::uint8_t* buffer, int length) {
    return static_cast<SourceReader*>(self)->read(buffer, length);
}

int SourceReader::read(std::uint8_t* buffer, int length) {
    // Data appended after the start is not part of a recording that was handed over as finished.
    const std::int64_t left = end_ - position_;
    if (left <= 0 || length <= 0) {
        return AVERROR_EOF;
    }
    step_ = position_ == lastEnd_ ? step_ * 2 : firstStep;
    const auto most = std::min<std::int64_t>(length, left);
    const std::size_t wanted = std::min(static_cast<std::size_t>(most), step_);
    step_ = wanted;
    ssize_t got = 0;
    do {
        got = ::pread(descriptor_, buffer, wanted, position_);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        error_ = errno;
        return AVERROR(error_);
    }
    if (got == 0) {
        shrunk_ = true;
        return AVERROR(EIO);
    }
    if (observer_) {
        observer_(position_, std::span(buffer, static_cast<std::size_t>(got)));
    }
    applyCovers(position_, buffer, static_cast<std::size_t>(got));
    position_ += got;
    lastEnd_ = position_;
    return static_cast<int>(got);
}

void SourceReader::coverWithFreeBox(std::int64_t start, std::int64_t end) {
    std::vector<std::uint8_t> header;
    // Data after the header is still read, because a header elsewhere may refer to it.
    mediaconverter::appendBoxHeader(header, mediaconverter::boxType("free"), static_cast<std::uint64_t>(end - start));
    patch(start, std::move(header));
}

void SourceReader::applyCovers(std::int64_t position, std::uint8_t* bytes, std::size_t length) const {
    for (const Cover& cover : covers_) {
        const std::int64_t end = std::min(cover.start + static_cast<std::int64_t>(cover.header.size()),
                                          position + static_cast<std::int64_t>(length));
        for (std::int64_t at = std::max(cover.start, position); at < end; ++at) {
            bytes[at - position] = cover.header[static_cast<std::size_t>(at - cover.start)];
        }
    }
}

std::size_t SourceReader::peek(std::int64_t position, std::uint8_t* bytes, std::size_t length) const {
    std::size_t have = 0;
    while (have < length) {
        const ssize_t got =
            ::pread(descriptor_, bytes + have, length - have, position + static_cast<std::int64_t>(have));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            // A failing disk is not the end of the recording.
            error_ = errno;
        }
        if (got <= 0) {
            break;
        }
        have += static_cast<std::size_t>(got);
    }
    return have;
}

std::int64_t SourceReader::seekCallback(void* self, std::int64_t offset, int whence) {
    auto& reader = *static_cast<SourceReader*>(self);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return reader.end_;
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += reader.position_;
        break;
    case SEEK_END:
        offset += reader.end_;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0) {
        return AVERROR(EINVAL);
    }
    reader.position_ = offset;
    return offset;
}

}  // namespace worker
