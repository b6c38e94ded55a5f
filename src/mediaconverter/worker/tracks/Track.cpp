#include "mediaconverter/worker/tracks/Track.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/FfmpegVersions.h"
#include "mediaconverter/worker/tracks/ParameterSets.h"

#include <algorithm>

namespace worker {

namespace {

/// The tag that players expect if a codec has several; 0 lets the muxer choose.
unsigned tagFor(AVCodecID codec) {
    // Apple's players accept HEVC only with its parameter sets in the header, which this tag guarantees.
    return codec == AV_CODEC_ID_HEVC ? MKTAG('h', 'v', 'c', '1') : 0;
}

std::span<const std::uint8_t> parametersOf(const AVCodecParameters& stream) {
    return {stream.extradata, static_cast<std::size_t>(stream.extradata_size)};
}

/// Copies what belongs to a stream whether it is copied or re-encoded.
void copyDescription(const AVStream& source, AVStream& target) {
    av_dict_copy(&target.metadata, source.metadata, 0);
    // Most players show the handler's name as the track's name.
    if (const AVDictionaryEntry* const title = av_dict_get(source.metadata, "title", nullptr, 0)) {
        av_dict_set(&target.metadata, "handler_name", title->value, 0);
    }
    target.disposition = source.disposition;
    target.sample_aspect_ratio = source.sample_aspect_ratio;
    target.avg_frame_rate = source.avg_frame_rate;
    target.r_frame_rate = source.r_frame_rate;
}

}  // namespace

Track::Track(const AVStream& source, AVStream& target, Timeline& timeline)
    : source_(source), target_(target), clock_(timeline, source), sourceTimes_(source), waiting_(newPacket()) {
    copyDescription(source, target);
}

void Track::accept(AVPacket& packet, Mp4Writer& writer) {
    const bool isSparse = source_.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE;
    const bool isLeap = !isSparse && clock_.isLeap(packet);
    if (isWaiting_) {
        if (!isLeap) {
            waiting_->pts = waiting_->dts = AV_NOPTS_VALUE;
            ++damagedTimes_;
        }
        passWaiting(writer);
        pass(packet, writer);
    } else if (isLeap) {
        av_packet_move_ref(waiting_.get(), &packet);
        // Its payload may be valid only until the next packet is read.
        if (av_packet_make_refcounted(waiting_.get()) < 0) {
            throw std::bad_alloc();
        }
        isWaiting_ = true;
    } else {
        pass(packet, writer);
    }
}

void Track::finish(Mp4Writer& writer) {
    if (isWaiting_) {
        passWaiting(writer);
    }
    end(writer);
}

void Track::copySideData() {
    for (const AVPacketSideData& data : ffmpeg::sideDataOf(source_)) {
        std::copy_n(data.data, data.size, present(ffmpeg::newSideData(target_, data.type, data.size)));
    }
}

void Track::passWaiting(Mp4Writer& writer) {
    pass(*waiting_, writer);
    av_packet_unref(waiting_.get());
    isWaiting_ = false;
}

void Track::send(AVPacket& packet, AVRational base, Mp4Writer& writer) {
    av_packet_rescale_ts(&packet, base, target_.time_base);
    packet.stream_index = target_.index;
    writer.write(packet);
}

CopiedTrack::CopiedTrack(const AVStream& source, AVStream& target, Timeline& timeline, bool repeatsParameters,
                         const std::optional<FrameGrid>& grid)
    : Track(source, target, timeline),
      form_(*source.codecpar),
      countsSamples_(SampleTimes::areNeeded(source)),
      samples_(source, target),
      repeatsParameters_(repeatsParameters) {
    if (const int copied = avcodec_parameters_copy(target.codecpar, source.codecpar); copied < 0) {
        throw Failure::ofLibrary(ConversionError::containerFailed, copied);
    }
    // The muxer requires both to be equal; a container may override the value in its frames.
    if (target.sample_aspect_ratio.num > 0) {
        target.codecpar->sample_aspect_ratio = target.sample_aspect_ratio;
    }
    target.codecpar->codec_tag = tagFor(source.codecpar->codec_id);
    target.time_base = source.time_base;
    target.start_time = AV_NOPTS_VALUE;
    if (grid) {
        target.time_base = grid->timeBase();
        frames_.emplace(source, target, *grid);
    }
    copySideData();
    if (repeatsParameters_) {
        parameters_ = inBandParameterSets(*source.codecpar, parametersOf(*source.codecpar)).value_or(parameters_);
    }
}

bool CopiedTrack::canRepeatParameters(const AVStream& stream) {
    return inBandParameterSets(*stream.codecpar, parametersOf(*stream.codecpar)).has_value();
}

void CopiedTrack::pass(AVPacket& packet, Mp4Writer& writer) {
    if (!isIntact(packet)) {
        countUndecodable();
        return;
    }
    followParameters(packet);
    clock().place(packet);
    witness().add(packet);
    if (countsSamples_) {
        samples_.place(packet);
    } else if (frames_) {
        frames_->place(packet);
    } else {
        av_packet_rescale_ts(&packet, source().time_base, target().time_base);
    }
    packet.stream_index = target().index;
    writer.write(packet);
}

bool CopiedTrack::isIntact(const AVPacket& packet) {
    const auto verdict = form_.look({packet.data, static_cast<std::size_t>(packet.size)});
    if (verdict == FormWatch::Verdict::changed) {
        throw ChangedStream{source().index};
    }
    return verdict != FormWatch::Verdict::damaged;
}

void CopiedTrack::followParameters(AVPacket& packet) {
    std::size_t length = 0;
    const std::uint8_t* const data = av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, &length);
    if (data != nullptr && length > 0) {
        const std::span<const std::uint8_t> fresh(data, length);
        const auto first = parametersOf(*target().codecpar);
        if (repeatsParameters_) {
            auto sets = inBandParameterSets(*target().codecpar, fresh);
            if (!sets) {
                throw ChangedStream{source().index};
            }
            parameters_ = std::move(*sets);
        } else if (!std::equal(fresh.begin(), fresh.end(), first.begin(), first.end())) {
            throw ChangedStream{source().index};
        }
        // The muxer would replace the first ones with these.
        av_packet_free_side_data(&packet);
    }
    if (repeatsParameters_ && (packet.flags & AV_PKT_FLAG_KEY) != 0) {
        putBefore(packet);
    }
}

void CopiedTrack::putBefore(AVPacket& packet) const {
    const auto added = static_cast<int>(parameters_.size());
    if (av_grow_packet(&packet, added) < 0) {
        throw std::bad_alloc();
    }
    std::copy_backward(packet.data, packet.data + packet.size - added, packet.data + packet.size);
    std::copy(parameters_.begin(), parameters_.end(), packet.data);
}

}  // namespace worker
