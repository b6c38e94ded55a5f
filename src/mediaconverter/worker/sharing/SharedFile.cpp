#include "mediaconverter/worker/sharing/SharedFile.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/confinement/StatOf.h"
#include "mediaconverter/worker/sharing/NotShareable.h"
#include "mediaconverter/worker/sharing/SharedPackets.h"
#include "mediaconverter/worker/writing/BlockWriter.h"
#include "mediaconverter/worker/writing/ChannelLayoutBox.h"
#include "mediaconverter/worker/writing/ChunkOffsets.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <unistd.h>

namespace worker {

namespace {

using mediaconverter::boxType;
using mediaconverter::longBoxHeader;
using mediaconverter::shortBoxHeader;

/// For the muxer's own small writes.
constexpr int bufferSize = 32 * 1024;

Failure failureOfWriting(int number) {
    return Failure(mediaconverter::errorOfWriting(number), std::generic_category().message(number));
}

std::int64_t roundUp(std::int64_t value, std::int64_t unit) {
    return (value + unit - 1) / unit * unit;
}

/// File systems share whole blocks.
std::int64_t blockSizeOf(int descriptor) {
    struct stat status = {};
    return statOf(descriptor, status) == 0 ? std::clamp<std::int64_t>(status.st_blksize, 4096, 1 << 20) : 4096;
}

}  // namespace

SharedFile::SharedFile(int source, int output, std::int64_t size, SharedPackets& packets, std::int64_t reserve)
    : source_(source),
      output_(output),
      size_(size),
      packets_(packets),
      reserve_(roundUp(reserve, blockSizeOf(output))) {
    if (::ftruncate(output_, 0) != 0) {
        throw failureOfWriting(errno);
    }
    auto* const buffer = static_cast<unsigned char*>(present(av_malloc(bufferSize)));
    context_ = present(avio_alloc_context(buffer, bufferSize, 1, this, nullptr, writeCallback, seekCallback));
    // Payloads arrive as they are, not in pieces of a buffer.
    context_->direct = 1;
}

SharedFile::~SharedFile() {
    move_.reset();
    av_freep(&context_->buffer);
    avio_context_free(&context_);
}

void SharedFile::headerWritten() {
    avio_flush(context_);
    requireNoError();
    hasHeader_ = true;
    std::span<const std::uint8_t> rest = header_;
    // The box of the data, which comes last, has no size yet.
    while (mediaconverter::popBox(rest)) {
    }
    rest = rest.subspan(std::min(rest.size(), shortBoxHeader));
    chapters_.assign(rest.begin(), rest.end());
    chaptersStart_ = static_cast<std::int64_t>(header_.size() - rest.size());
    shift_ = chapters_.empty() ? 0 : roundUp(static_cast<std::int64_t>(header_.size()), blockSizeOf(output_));
    if (reserve_ > 0) {
        move_.emplace(source_, output_, reserve_ + shift_, size_);
    }
}

void SharedFile::packetFollows(const AVPacket& packet) {
    expected_ = &packet;
    written_ = 0;
    if (packet.pos < 0) {
        return;
    }
    PacketList::Track& track = packets_.list().tracks.at(static_cast<std::size_t>(packet.stream_index));
    if (track.stored == track.packets.size() || track.packets[track.stored].position != packet.pos ||
        track.packets[track.stored].size != static_cast<std::uint32_t>(packet.size)) {
        throw NotShareable{"a packet was left out"};
    }
    track.packets[track.stored++].decodingTime = packet.dts;
    avio_seek(context_, packet.pos + shift_, SEEK_SET);
}

void SharedFile::packetWritten(const AVPacket& packet) {
    const std::size_t wanted = packet.pos < 0 ? 0 : static_cast<std::size_t>(packet.size);
    expected_ = nullptr;
    if (isChanged_ || written_ != wanted) {
        throw NotShareable{"track " + std::to_string(packet.stream_index) + " is not stored as it is"};
    }
}

void SharedFile::dataWritten() {
    avio_flush(context_);
    requireNoError();
    parts_.endData(position_);
}

void SharedFile::placeIndex(std::span<const std::uint32_t> channelMasks) {
    avio_flush(context_);
    requireNoError();
    requireAllStored();
    auto [start, data, index] = parts_.releaseTail();
    if (!data.empty()) {
        throw NotShareable{"the muxer adds samples at the end"};
    }
    addChannelLayouts(index, channelMasks);
    writeFront(index);
    overwriteLeftOut();
}

/// Waits until the recording is in the file. Returns the start of the data, which leaves at least so many bytes before
/// it.
std::int64_t SharedFile::placeData(std::int64_t least) {
    const std::atomic<bool> stops{false};
    std::int64_t start = reserve_;
    if (move_) {
        move_->finish();
        move_.reset();
    }
    if (least > reserve_) {
        // Nothing of what is there may stay in the free space.
        if (::ftruncate(output_, 0) != 0) {
            throw failureOfWriting(errno);
        }
        start = roundUp(least, blockSizeOf(output_));
        movePayload(source_, output_, start + shift_, size_, stops);
    }
    payloadStart_ = start + shift_;
    return start;
}

void SharedFile::requireNoError() {
    if (context_->error < 0) {
        throw Failure::ofLibrary(ConversionError::writeFailed, context_->error);
    }
}

int SharedFile::writeCallback(void* self, ffmpeg::WrittenByte* bytes, int length) {
    return static_cast<SharedFile*>(self)->write(bytes, static_cast<std::size_t>(length));
}

int SharedFile::write(const std::uint8_t* bytes, std::size_t length) {
    try {
        if (expected_ != nullptr) {
            acceptPayload(bytes, length);
        } else if (!parts_.keep(position_, bytes, length) && !hasHeader_) {
            const auto at = static_cast<std::size_t>(position_);
            header_.resize(std::max(header_.size(), at + length));
            std::copy_n(bytes, length, header_.begin() + position_);
        }
    } catch (const std::bad_alloc&) {
        return AVERROR(ENOMEM);
    }
    position_ += static_cast<std::int64_t>(length);
    return static_cast<int>(length);
}

void SharedFile::acceptPayload(const std::uint8_t* bytes, std::size_t length) {
    const std::size_t left = static_cast<std::size_t>(expected_->size) - written_;
    const std::uint8_t* const wanted = expected_->data + written_;
    isChanged_ = isChanged_ || length > left || (bytes != wanted && std::memcmp(bytes, wanted, length) != 0) ||
                 position_ != expected_->pos + shift_ + static_cast<std::int64_t>(written_);
    written_ += length;
}

std::int64_t SharedFile::seekCallback(void* self, std::int64_t offset, int whence) {
    auto& file = *static_cast<SharedFile*>(self);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return std::max(file.position_, file.parts_.end());
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

void SharedFile::requireAllStored() const {
    for (const PacketList::Track& track : packets_.list().tracks) {
        if (track.stored != track.packets.size()) {
            throw NotShareable{"packets were left out"};
        }
    }
}

void SharedFile::writeFront(const std::vector<std::uint8_t>& index) {
    std::vector<std::uint8_t> front = parts_.fileType();
    const std::size_t most = front.size() + largestWithShiftedChunkOffsets(index) + shortBoxHeader + longBoxHeader;
    const std::int64_t dataStart = placeData(static_cast<std::int64_t>(most));
    const auto shifted = withShiftedChunkOffsets(index, static_cast<std::uint64_t>(dataStart));
    front.insert(front.end(), shifted.begin(), shifted.end());
    const std::size_t headerStart = static_cast<std::size_t>(dataStart) - longBoxHeader;
    mediaconverter::appendBoxHeader(front, boxType("free"), headerStart - front.size());
    writeNow(0, front);
    // The long form, whatever the size: the border of the block must not depend on it.
    std::vector<std::uint8_t> header;
    mediaconverter::appendBigEndian(header, 4, 1);
    mediaconverter::appendBigEndian(header, 4, boxType("mdat"));
    mediaconverter::appendBigEndian(header, 8, longBoxHeader + static_cast<std::uint64_t>(shift_ + size_));
    writeNow(static_cast<std::int64_t>(headerStart), header);
    writeNow(dataStart + chaptersStart_, chapters_);
}

void SharedFile::overwriteLeftOut() {
    constexpr std::int64_t mostStep = 64 * 1024;
    const std::vector<std::uint8_t> zeros(static_cast<std::size_t>(mostStep));
    for (const ByteRange& range : packets_.leftOut()) {
        for (std::int64_t at = range.start; at < range.end; at += mostStep) {
            const auto length = static_cast<std::size_t>(std::min(mostStep, range.end - at));
            writeNow(payloadStart_ + at, std::span(zeros).first(length));
        }
    }
}

void SharedFile::writeNow(std::int64_t position, std::span<const std::uint8_t> bytes) {
    if (const int number = writeAt(output_, position, bytes.data(), bytes.size()); number != 0) {
        throw failureOfWriting(number);
    }
}

}  // namespace worker
