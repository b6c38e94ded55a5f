#include "mediaconverter/worker/times/SourceTimes.h"

#include "mediaconverter/worker/times/MicrosecondBase.h"
#include "mediaconverter/worker/times/Timeline.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <algorithm>

namespace worker {

namespace {

std::int64_t inMicroseconds(std::int64_t time, AVRational base) {
    return av_rescale_q(time, base, microsecondBase);
}

}  // namespace

void SourceTimes::add(const AVPacket& packet) {
    const std::int64_t time = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
    // A text that consists only of its length fills the time between two texts.
    constexpr int emptyText = 2;
    const bool isEmptyText = stream_.codecpar->codec_id == AV_CODEC_ID_MOV_TEXT && packet.size <= emptyText;
    if (time == AV_NOPTS_VALUE || (packet.flags & AV_PKT_FLAG_DISCARD) != 0 || isEmptyText) {
        return;
    }
    std::int64_t start = inMicroseconds(time, stream_.time_base);
    std::int64_t duration = durationOf(packet);
    if (!Timeline::isCountable(start) || !Timeline::isCountable(duration)) {
        return;
    }
    longest_ = std::max(longest_, duration);
    if (stream_.codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
        skip(packet, start, duration);
        if (duration < 0) {
            return;
        }
    }
    earliest_ = std::min(earliest_, start);
    shown_.add(start, duration);
}

void SourceTimes::addPicture(std::int64_t time) {
    const std::int64_t start = inMicroseconds(time, stream_.time_base);
    earliest_ = std::min(earliest_, start);
    shown_.add(start, 0);
}

void SourceTimes::addDecodedAudio(std::int64_t time, int samples, int rate) {
    if (time == AV_NOPTS_VALUE && !decodedAudio_) {
        return;
    }
    const std::int64_t start = time == AV_NOPTS_VALUE ? decodedAudio_->end : inMicroseconds(time, stream_.time_base);
    const std::int64_t end = start + inMicroseconds(samples, {1, std::max(rate, 1)});
    decodedAudio_ = decodedAudio_ ? Span{std::min(decodedAudio_->start, start), std::max(decodedAudio_->end, end)}
                                  : Span{start, end};
}

std::int64_t SourceTimes::durationOf(const AVPacket& packet) const {
    AVCodecParameters& parameters = *stream_.codecpar;
    if (parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.sample_rate > 0) {
        if (const int samples = av_get_audio_frame_duration2(&parameters, packet.size); samples > 0) {
            return inMicroseconds(samples, {1, parameters.sample_rate});
        }
    }
    return packet.duration > 0 ? inMicroseconds(packet.duration, stream_.time_base) : 0;
}

void SourceTimes::skip(const AVPacket& packet, std::int64_t& start, std::int64_t& duration) {
    // Two 32-bit numbers, little endian: samples to skip at the start, which may exceed this packet, and at the end.
    constexpr std::size_t leastSize = 8;
    std::size_t size = 0;
    const std::uint8_t* const data = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
    if (data != nullptr && size >= leastSize && stream_.codecpar->sample_rate > 0) {
        const AVRational sample = {1, stream_.codecpar->sample_rate};
        skipped_ = std::max(skipped_, start + inMicroseconds(AV_RL32(data), sample));
        // Some demuxers have already shortened the packet.
        duration = std::min(duration, longest_ - inMicroseconds(AV_RL32(data + 4), sample));
    }
    if (start < skipped_) {
        // A packet that ends within the skipped range is not heard at all.
        duration = start + duration <= skipped_ ? -1 : start + duration - skipped_;
        start = skipped_;
    }
}

}  // namespace worker
