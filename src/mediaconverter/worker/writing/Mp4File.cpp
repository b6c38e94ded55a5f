#include "mediaconverter/worker/writing/Mp4File.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/confinement/StatOf.h"
#include "mediaconverter/worker/writing/ChannelLayoutBox.h"
#include "mediaconverter/worker/writing/ChunkOffsets.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/falloc.h>
#include <system_error>
#include <unistd.h>

namespace worker {

namespace {

/// For the muxer's own small writes.
constexpr int bufferSize = 32 * 1024;
constexpr std::int64_t boxHeader = mediaconverter::shortBoxHeader;
constexpr std::int64_t moveStep = std::int64_t{4} * 1024 * 1024;

std::int64_t roundUp(std::int64_t value, std::int64_t unit) {
    return (value + unit - 1) / unit * unit;
}

Failure failureOfWriting(int number) {
    return Failure(mediaconverter::errorOfWriting(number), std::generic_category().message(number));
}

std::int64_t blockSizeOf(int descriptor) {
    struct stat status = {};
    return statOf(descriptor, status) == 0 && status.st_blksize > 0 ? std::max<std::int64_t>(status.st_blksize, 4096)
                                                                    : 4096;
}

}  // namespace

Mp4File::Mp4File(int descriptor, std::int64_t reserve)
    : descriptor_(descriptor), front_(roundUp(reserve, 4096)), writer_(descriptor) {
    // An earlier attempt may have written to the file.
    if (::ftruncate(descriptor_, 0) != 0) {
        throw failureOfWriting(errno);
    }
    auto* const buffer = static_cast<unsigned char*>(present(av_malloc(bufferSize)));
    context_ = present(avio_alloc_context(buffer, bufferSize, 1, this, nullptr, writeCallback, seekCallback));
    // Our writer joins the packets; the library need not do it first.
    context_->direct = 1;
}

Mp4File::~Mp4File() {
    av_freep(&context_->buffer);
    avio_context_free(&context_);
}

void Mp4File::headerWritten() {
    avio_flush(context_);
    requireNoError();
    phase_ = Phase::data;
}

void Mp4File::dataWritten() {
    avio_flush(context_);
    requireNoError();
    phase_ = Phase::tail;
    tailStart_ = position_;
}

void Mp4File::placeIndex(std::span<const std::uint32_t> channelMasks) {
    avio_flush(context_);
    requireNoError();
    std::vector<std::uint8_t> index = extractIndex();
    addChannelLayouts(index, channelMasks);
    // A free box, which takes at least eight bytes, fills the room between the index and the data.
    makeRoom(static_cast<std::int64_t>(largestWithShiftedChunkOffsets(index)) + boxHeader);
    writeFront(withShiftedChunkOffsets(index, static_cast<std::uint64_t>(front_)));
    // Returns the room that was reserved but not used.
    if (::ftruncate(descriptor_, front_ + end_) != 0) {
        throw failureOfWriting(errno);
    }
}

void Mp4File::requireNoError() {
    if (const int number = writer_.drain(); number != 0) {
        throw failureOfWriting(number);
    }
    if (context_->error < 0) {
        throw Failure::ofLibrary(ConversionError::writeFailed, context_->error);
    }
}

int Mp4File::writeCallback(void* self, ffmpeg::WrittenByte* bytes, int length) {
    return static_cast<Mp4File*>(self)->write(bytes, static_cast<std::size_t>(length));
}

int Mp4File::write(const std::uint8_t* bytes, std::size_t length) {
    const int result = static_cast<int>(length);
    if (phase_ == Phase::header) {
        keepStart(bytes, length);
    }
    if ((phase_ == Phase::tail || phase_ == Phase::sealed) && position_ >= tailStart_) {
        return keep(bytes, length) ? result : AVERROR(ENOMEM);
    }
    if (phase_ == Phase::tail) {
        phase_ = Phase::sealed;
    }
    if (!writer_.write(front_ + position_, bytes, length)) {
        return AVERROR(EIO);
    }
    position_ += static_cast<std::int64_t>(length);
    end_ = std::max(end_, position_);
    return result;
}

void Mp4File::keepStart(const std::uint8_t* bytes, std::size_t length) {
    // The muxer writes the size of a box last.
    const auto offset = static_cast<std::size_t>(position_);
    start_.resize(std::max(start_.size(), offset + length));
    std::memcpy(start_.data() + offset, bytes, length);
}

bool Mp4File::keep(const std::uint8_t* bytes, std::size_t length) {
    try {
        if (phase_ == Phase::sealed && !indexStart_) {
            indexStart_ = position_;
        }
        const auto offset = static_cast<std::size_t>(position_ - tailStart_);
        tail_.resize(std::max(tail_.size(), offset + length));
        std::memcpy(tail_.data() + offset, bytes, length);
        position_ += static_cast<std::int64_t>(length);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

std::int64_t Mp4File::seekCallback(void* self, std::int64_t offset, int whence) {
    auto& file = *static_cast<Mp4File*>(self);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return std::max(file.end_, file.tailStart_ + static_cast<std::int64_t>(file.tail_.size()));
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += file.position_;
        break;
    default:
        return AVERROR(EINVAL);
    }
    file.position_ = offset;
    return offset;
}

std::vector<std::uint8_t> Mp4File::extractIndex() {
    // Whatever is kept lies after tailStart_, the index too.
    const auto dataLength = static_cast<std::size_t>(indexStart_.value_or(tailStart_) - tailStart_);
    const auto index = indexStart_ ? mediaconverter::readBoxHeader(std::span(tail_).subspan(dataLength)) : std::nullopt;
    if (!index || !index->is("moov")) {
        throw Failure(ConversionError::containerFailed, "the index is not where it should be");
    }
    // Before the index come the last samples, which the muxer writes when it finishes.
    writeNow(front_ + tailStart_, tail_.data(), dataLength);
    ranges_.push_back(WrittenRange(tailStart_, {Bytes(tail_).first(dataLength)}));
    end_ = std::max(end_, tailStart_ + static_cast<std::int64_t>(dataLength));
    tail_.erase(tail_.begin(), tail_.begin() + static_cast<std::ptrdiff_t>(dataLength));
    return std::move(tail_);
}

void Mp4File::makeRoom(std::int64_t needed) {
    if (needed <= front_) {
        return;
    }
    const std::int64_t more = roundUp(needed - front_, blockSizeOf(descriptor_));
    if (!insertRange(more)) {
        moveUp(more);
    }
    front_ += more;
}

bool Mp4File::insertRange(std::int64_t length) {
    int result = 0;
    do {
        result = ::fallocate(descriptor_, FALLOC_FL_INSERT_RANGE, 0, length);
    } while (result != 0 && errno == EINTR);
    if (result != 0 && errno != EOPNOTSUPP && errno != ENOSYS && errno != EINVAL) {
        throw failureOfWriting(errno);
    }
    return result == 0;
}

void Mp4File::moveUp(std::int64_t by) {
    const auto block = std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(moveStep));
    for (std::int64_t end = front_ + end_; end > 0;) {
        const std::int64_t start = std::max<std::int64_t>(0, end - moveStep);
        for (std::int64_t have = start; have < end;) {
            const ssize_t got =
                ::pread(descriptor_, block.get() + (have - start), static_cast<std::size_t>(end - have), have);
            if (got <= 0 && !(got < 0 && errno == EINTR)) {
                throw failureOfWriting(got == 0 ? EIO : errno);
            }
            have += std::max<ssize_t>(got, 0);
        }
        writeNow(start + by, block.get(), static_cast<std::size_t>(end - start));
        end = start;
    }
}

void Mp4File::writeFront(const std::vector<std::uint8_t>& index) {
    Bytes boxes = start_;
    const auto type = mediaconverter::popBox(boxes);
    if (!type || !type->is("ftyp")) {
        throw Failure(ConversionError::containerFailed, "the file type is not where it should be");
    }
    const Bytes data = dataWithHeader();
    ranges_.push_back(WrittenRange(static_cast<std::int64_t>(start_.size() - data.size()), {data}));
    for (WrittenRange& range : ranges_) {
        range.moveBy(front_);
    }
    // The free box covers the muxer's own file type box, up to the data.
    std::vector<std::uint8_t> freeHeader;
    mediaconverter::appendBoxHeader(freeHeader, mediaconverter::boxType("free"),
                                    static_cast<std::uint64_t>(front_) - index.size());
    std::int64_t position = 0;
    for (const Bytes part : {type->whole, Bytes(index), Bytes(freeHeader)}) {
        writeNow(position, part.data(), part.size());
        position += static_cast<std::int64_t>(part.size());
    }
    ranges_.push_back(WrittenRange(0, {type->whole, index, freeHeader}));
}

/// The data that the muxer has written with its header: chapters.
Mp4File::Bytes Mp4File::dataWithHeader() const {
    Bytes rest = start_;
    // The box of the data, which comes last, has no size yet.
    while (mediaconverter::popBox(rest)) {
    }
    return rest.subspan(std::min(rest.size(), mediaconverter::shortBoxHeader));
}

void Mp4File::writeNow(std::int64_t position, const std::uint8_t* bytes, std::size_t length) {
    if (const int number = writeAt(descriptor_, position, bytes, length); number != 0) {
        throw failureOfWriting(number);
    }
}

}  // namespace worker
