#include "mediaconverter/worker/sharing/LibraryFields.h"

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/sharing/KeyFrames.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace worker {

namespace {

bool isVideo(const AVStream& stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
}

/// Samples at 48 kHz in a packet of Opus (RFC 6716, section 3.1); 0 if it is malformed.
std::int64_t opusSamples(std::span<const std::uint8_t> packet) {
    constexpr std::array<std::int64_t, 4> silk = {480, 960, 1920, 2880};
    if (packet.empty()) {
        return 0;
    }
    const unsigned configuration = packet[0] >> 3U;
    const std::int64_t frame = configuration < 12   ? silk[configuration & 3U]
                               : configuration < 16 ? 480 << (configuration & 1U)
                                                    : 120 << (configuration & 3U);
    constexpr unsigned counted = 3;
    const unsigned code = packet[0] & 3U;
    if (code == counted) {
        return packet.size() < 2 ? 0 : frame * (packet[1] & 0x3F);
    }
    return code == 0 ? frame : 2 * frame;
}

}  // namespace

bool LibraryFields::arePredictable(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    switch (parameters.codec_id) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
        return KeyFrames::arePossible(parameters) && parameters.video_delay <= static_cast<int>(mostDelay);
    case AV_CODEC_ID_AAC:
        return parameters.extradata_size > 0;
    case AV_CODEC_ID_OPUS:
        return true;
    default:
        return false;
    }
}

LibraryFields::LibraryFields(const AVStream& stream)
    : stream_(stream), delay_(static_cast<std::size_t>(std::max(stream.codecpar->video_delay, 0))) {
    latest_.fill(AV_NOPTS_VALUE);
}

void LibraryFields::compare(const AVPacket& packet, const StructuredPacket& own,
                            std::span<const std::uint8_t> payload) {
    if (own.duration == 0 && !usualDuration_) {
        usualDuration_ = packet.duration;
    }
    const PacketPointer predicted = newPacket();
    fill(*predicted, own, payload);
    const bool isAsPredicted = packet.pts == predicted->pts && packet.dts == predicted->dts &&
                               packet.duration == predicted->duration && packet.flags == predicted->flags;
    asPredicted_ = isAsPredicted ? asPredicted_ + 1 : 0;
    if (packet.duration != predicted->duration) {
        usualDuration_ = packet.duration;
    }
}

bool LibraryFields::isReliable() const {
    // A group of frames that refer to each other, and a few frames of audio.
    return asPredicted_ >= (isVideo(stream_) ? 12 : 6);
}

void LibraryFields::fill(AVPacket& packet, const StructuredPacket& own, std::span<const std::uint8_t> payload) {
    packet.stream_index = stream_.index;
    packet.data = const_cast<std::uint8_t*>(payload.data());
    packet.size = static_cast<int>(payload.size());
    packet.pos = own.position;
    packet.pts = own.time;
    packet.dts = decodingTime(own.time);
    packet.duration = durationOf(own, payload);
    packet.flags = !isVideo(stream_) || KeyFrames::isKey(*stream_.codecpar, payload) ? AV_PKT_FLAG_KEY : 0;
    if (own.discarded != 0) {
        addDiscarded(packet, own.discarded);
    }
}

/// The library assumes that frames are decoded in the order in which they are shown, but as many earlier as the decoder
/// holds back.
std::int64_t LibraryFields::decodingTime(std::int64_t time) {
    latest_[0] = time;
    for (std::size_t index = 0; index < delay_ && latest_[index] > latest_[index + 1]; ++index) {
        std::swap(latest_[index], latest_[index + 1]);
    }
    return latest_[0];
}

std::int64_t LibraryFields::durationOf(const StructuredPacket& own, std::span<const std::uint8_t> payload) const {
    if (stream_.codecpar->codec_id == AV_CODEC_ID_OPUS) {
        return av_rescale_q_rnd(opusSamples(payload), {1, 48'000}, stream_.time_base, AV_ROUND_DOWN);
    }
    return own.duration > 0 ? own.duration : usualDuration_.value_or(0);
}

void LibraryFields::addDiscarded(AVPacket& packet, std::int64_t nanoseconds) const {
    // Two 32-bit numbers, little endian: samples to skip at the start and at the end; then two reasons.
    constexpr std::size_t size = 10;
    auto* const data = present(av_packet_new_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, size));
    std::memset(data, 0, size);
    const std::int64_t samples =
        av_rescale_q(nanoseconds, {1, 1'000'000'000}, {1, std::max(stream_.codecpar->sample_rate, 1)});
    AV_WL32(data + (samples > 0 ? 4 : 0), static_cast<std::uint32_t>(std::abs(samples)));
}

}  // namespace worker
