#include "mediaconverter/worker/Conversion.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/Proof.h"
#include "mediaconverter/worker/TrackPlan.h"
#include "mediaconverter/worker/TranscodedText.h"
#include "mediaconverter/worker/TranscodedTrack.h"

#include <sys/statvfs.h>

#include <algorithm>

namespace worker {

namespace {

using enum ConversionError;

/// What reading and writing are of the worker's work; the rest is the proof.
constexpr double conversionShare = 0.98;

std::int64_t originOf(const AVFormatContext& format) {
    return format.start_time == AV_NOPTS_VALUE ? 0 : format.start_time;
}

}  // namespace

Conversion::Conversion(int source, int output, Reporter& reporter)
    : output_(output),
      reporter_(reporter),
      recording_(source),
      writer_(output, estimateIndex()),
      timeline_(originOf(recording_.format()), (recording_.format().iformat->flags & AVFMT_TS_DISCONT) != 0) {}

void Conversion::run() {
    addTracks();
    copyMetadata();
    copyChapters();
    writer_.start(onlyCopies_);
    convert();
    writer_.finish();
    prove(output_);
    if (!recording_.damage().empty()) {
        reporter_.damaged(recording_.damage());
    }
}

std::int64_t Conversion::estimateIndex() const {
    // Sizes, times, places: about this many bytes a packet.
    constexpr double bytesOfPacket = 20;
    constexpr double usualPacketRate = 50;
    const AVFormatContext& format = recording_.format();
    const double seconds = format.duration > 0 ? static_cast<double>(format.duration) / AV_TIME_BASE
                                               : static_cast<double>(recording_.size()) / 20'000;
    double packets = 0;
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        const AVStream& stream = *format.streams[index];
        const AVCodecParameters& parameters = *stream.codecpar;
        const bool isSound = parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.frame_size > 0;
        const double rate = isSound ? static_cast<double>(parameters.sample_rate) / parameters.frame_size
                            : stream.avg_frame_rate.den > 0 ? av_q2d(stream.avg_frame_rate)
                                                            : usualPacketRate;
        packets += seconds * std::clamp(rate, 1.0, 1000.0);
    }
    return 64 * 1024 + static_cast<std::int64_t>(std::min(packets * bytesOfPacket, 256e6));
}

void Conversion::requireSpace(int output) const {
    struct statvfs space = {};
    if (::fstatvfs(output, &space) == 0 && static_cast<double>(space.f_bavail) * static_cast<double>(space.f_frsize) <
                                               static_cast<double>(recording_.size())) {
        throw Failure(diskFull, "the recording alone needs " + std::to_string(recording_.size()) + " bytes");
    }
}

void Conversion::addTracks() {
    const AVFormatContext& format = recording_.format();
    trackOfStream_.assign(format.nb_streams, nullptr);
    bool hasContent = false;
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        AVStream& stream = *format.streams[index];
        const Treatment treatment = treatmentOf(stream);
        if (treatment == Treatment::leave) {
            stream.discard = AVDISCARD_ALL;
            reporter_.note(describe(stream) + " has no place in an MP4 and is left out");
            continue;
        }
        addTrack(stream, treatment == Treatment::copy);
        trackOfStream_[index] = tracks_.back().get();
        const AVMediaType type = stream.codecpar->codec_type;
        hasContent = hasContent || type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO;
    }
    if (!hasContent) {
        throw Failure(nothingRecorded);
    }
    if (onlyCopies_) {
        requireSpace(output_);
    }
}

void Conversion::addTrack(const AVStream& stream, bool copies) {
    AVStream& target = writer_.addTrack();
    const AVMediaType type = stream.codecpar->codec_type;
    if (copies) {
        tracks_.push_back(std::make_unique<CopiedTrack>(stream, target, timeline_));
        return;
    }
    reporter_.note(describe(stream) + " is encoded anew");
    if (type == AVMEDIA_TYPE_VIDEO) {
        tracks_.push_back(std::make_unique<TranscodedVideo>(stream, target, timeline_));
    } else if (type == AVMEDIA_TYPE_AUDIO) {
        tracks_.push_back(std::make_unique<TranscodedAudio>(stream, target, timeline_));
    } else {
        tracks_.push_back(std::make_unique<TranscodedText>(stream, target, timeline_));
    }
    onlyCopies_ = false;
}

void Conversion::copyMetadata() {
    AVFormatContext& target = writer_.format();
    av_dict_copy(&target.metadata, recording_.format().metadata, 0);
    // These describe the recording's own container, and the muxer names itself.
    for (const char* const key : {"major_brand", "minor_version", "compatible_brands", "encoder", "DURATION"}) {
        av_dict_set(&target.metadata, key, nullptr, 0);
    }
}

void Conversion::copyChapters() {
    AVFormatContext& target = writer_.format();
    for (unsigned index = 0; index < recording_.format().nb_chapters; ++index) {
        const AVChapter& chapter = *recording_.format().chapters[index];
        const std::int64_t shift = av_rescale_q(timeline_.origin(), AV_TIME_BASE_Q, chapter.time_base);
        auto* const copy = static_cast<AVChapter*>(present(av_mallocz(sizeof(AVChapter))));
        copy->id = chapter.id;
        copy->time_base = chapter.time_base;
        copy->start = std::max<std::int64_t>(0, chapter.start - shift);
        copy->end = std::max(copy->start, chapter.end - shift);
        av_dict_copy(&copy->metadata, chapter.metadata, 0);
        int count = static_cast<int>(target.nb_chapters);
        av_dynarray_add(&target.chapters, &count, copy);
        target.nb_chapters = static_cast<unsigned>(count);
    }
}

void Conversion::convert() {
    const PacketPointer packet = newPacket();
    std::int64_t packets = 0;
    while (recording_.read(*packet)) {
        const auto stream = static_cast<std::size_t>(packet->stream_index);
        Track* const track = stream < trackOfStream_.size() ? trackOfStream_[stream] : nullptr;
        if (track != nullptr) {
            track->accept(*packet, writer_);
            ++packets;
        }
        av_packet_unref(packet.get());
        if (packets % 64 == 0) {
            reporter_.progress(recording_.fractionRead() * conversionShare);
        }
    }
    if (packets == 0) {
        throw Failure(nothingRecorded);
    }
    for (const auto& track : tracks_) {
        track->finish(writer_);
        if (track->undecodable() > 0) {
            recording_.addDamage(std::to_string(track->undecodable()) + " packets that could not be decoded");
        }
    }
}

void Conversion::prove(int output) {
    reporter_.progress(conversionShare);
    proveMp4(output, writer_.format(), writer_.tallies());
    reporter_.progress(1);
}

}  // namespace worker
