#include "mediaconverter/worker/accounting/PayloadCheck.h"

#include "mediaconverter/ByteOrder.h"

extern "C" {
#include <libavutil/crc.h>
}

#include <algorithm>
#include <array>
#include <cstring>

namespace worker {

namespace {

using mediaconverter::bigEndian;

/// Arithmetic and Huffman codes never come close to such a run.
constexpr std::size_t hole = 256;
constexpr std::size_t stride = hole / 2;

/// A shorter packet of zeros may be one of silence.
constexpr std::size_t leastEmpty = 16;

bool isAllZero(std::span<const std::uint8_t> bytes) {
    return bytes.front() == 0 && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

/// A run as long as a hole always covers a whole stride.
bool hasHole(std::span<const std::uint8_t> bytes) {
    for (std::size_t at = 0; at + stride <= bytes.size(); at += stride) {
        if (bytes[at] != 0 || !isAllZero(bytes.subspan(at, stride))) {
            continue;
        }
        const auto isZero = [](std::uint8_t byte) { return byte == 0; };
        const auto after = std::find_if_not(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end(), isZero);
        const auto before =
            std::find_if_not(bytes.rbegin() + static_cast<std::ptrdiff_t>(bytes.size() - at), bytes.rend(), isZero);
        const auto length = static_cast<std::size_t>(after - before.base());
        if (length >= hole) {
            return true;
        }
        at += length / stride * stride;
    }
    return false;
}

bool isWithoutZeros(AVCodecID codec) {
    constexpr std::array codecs = {AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_VP8,
                                   AV_CODEC_ID_VP9,  AV_CODEC_ID_AV1,  AV_CODEC_ID_MPEG4};
    return std::find(codecs.begin(), codecs.end(), codec) != codecs.end();
}

bool isWithoutEmptyPackets(AVCodecID codec) {
    constexpr std::array codecs = {AV_CODEC_ID_AAC,    AV_CODEC_ID_OPUS, AV_CODEC_ID_MP3,  AV_CODEC_ID_MP2,
                                   AV_CODEC_ID_VORBIS, AV_CODEC_ID_AC3,  AV_CODEC_ID_EAC3, AV_CODEC_ID_FLAC};
    return isWithoutZeros(codec) || std::find(codecs.begin(), codecs.end(), codec) != codecs.end();
}

}  // namespace

std::size_t unitLengthWidth(const AVCodecParameters& stream) {
    // The configuration records state it (ISO/IEC 14496-15, 5.3.3.1 and 8.3.3.1).
    const std::size_t at = stream.codec_id == AV_CODEC_ID_H264 ? 4 : 21;
    const bool isCounted = stream.codec_id == AV_CODEC_ID_H264 || stream.codec_id == AV_CODEC_ID_HEVC;
    if (!isCounted || static_cast<std::size_t>(stream.extradata_size) <= at || stream.extradata[0] != 1) {
        return 0;
    }
    return (stream.extradata[at] & 3U) + 1U;
}

PayloadCheck::PayloadCheck(const AVStream& stream)
    : hasNoZeros_(isWithoutZeros(stream.codecpar->codec_id)),
      isCompressed_(isWithoutEmptyPackets(stream.codecpar->codec_id)),
      hasChecksum_(stream.codecpar->codec_id == AV_CODEC_ID_FLAC),
      mayBeCut_(hasChecksum_ && stream.duration <= 0),
      lengthWidth_(unitLengthWidth(*stream.codecpar)) {}

bool PayloadCheck::isEmpty(std::span<const std::uint8_t> packet, const AVCodecParameters& stream) {
    return packet.size() >= leastEmpty && isAllZero(packet) && isWithoutEmptyPackets(stream.codec_id);
}

void PayloadCheck::add(std::span<const std::uint8_t> packet, std::int64_t position) {
    ++packets_;
    isLastDamaged_ = isDamaged(packet);
    if (isLastDamaged_ && damaged_++ == 0) {
        firstPosition_ = position;
    }
}

bool PayloadCheck::isDamaged(std::span<const std::uint8_t> packet) const {
    if (isCompressed_ && packet.size() >= leastEmpty && isAllZero(packet)) {
        return true;
    }
    // Over a whole frame, including the checksum at its end, it is 0 (the format's section FRAME_FOOTER).
    if (hasChecksum_ && av_crc(av_crc_get_table(AV_CRC_16_ANSI), 0, packet.data(), packet.size()) != 0) {
        return true;
    }
    return (hasNoZeros_ && hasHole(packet)) || (lengthWidth_ > 0 && areUnitsBroken(packet));
}

bool PayloadCheck::areUnitsBroken(std::span<const std::uint8_t> packet) const {
    constexpr std::uint8_t forbidden = 0x80;
    while (packet.size() > lengthWidth_) {
        const std::uint64_t length = bigEndian(packet, 0, lengthWidth_);
        if (length > packet.size() - lengthWidth_ || (length > 0 && (packet[lengthWidth_] & forbidden) != 0)) {
            return true;
        }
        packet = packet.subspan(lengthWidth_ + static_cast<std::size_t>(length));
    }
    return !packet.empty();
}

}  // namespace worker
