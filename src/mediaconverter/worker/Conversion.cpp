#include "mediaconverter/worker/Conversion.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/Proof.h"
#include "mediaconverter/worker/TrackPlan.h"
#include "mediaconverter/worker/TranscodedText.h"
#include "mediaconverter/worker/TranscodedTrack.h"

#include <fcntl.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace worker {

namespace {

using enum ConversionError;

/// What reading and writing are of the worker's work; the rest is the proof.
constexpr double conversionShare = 0.98;

std::int64_t originOf(const AVFormatContext& format) {
    return Timeline::isCountable(format.start_time) ? format.start_time : 0;
}

/// How often streams may turn up that were not there before; each time the conversion begins anew.
constexpr int mostAttempts = 5;

/// True where the muxer can describe the stream: broadcast streams may name ones that have not been seen yet.
bool isKnown(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    switch (parameters.codec_type) {
    case AVMEDIA_TYPE_VIDEO:
        return parameters.width > 0 && parameters.height > 0;
    case AVMEDIA_TYPE_AUDIO:
        return parameters.sample_rate > 0 && parameters.ch_layout.nb_channels > 0;
    default:
        return true;
    }
}

}  // namespace

void convertRecording(int source, int output, Reporter& reporter) {
    Foreknowledge known;
    for (int attempt = 1;; ++attempt) {
        try {
            Conversion(source, output, reporter, known).run();
            return;
        } catch (const ChangedStream& changed) {
            if (!known.changingStreams.insert(changed.index).second) {
                throw Failure(containerFailed, "stream " + std::to_string(changed.index) + " changes again");
            }
            --attempt;
        } catch (const LateStream& late) {
            if (attempt == mostAttempts) {
                throw Failure(limitExceeded, late.name + " turns up at byte " + std::to_string(late.position));
            }
            if (late.position > known.lookAhead) {
                known.lookAhead = late.position;
                known.lateHasSibling = late.hasSibling;
            } else if (known.lateHasSibling) {
                // It could not be made out though it was looked at.
                known.lookAhead = 0;
                known.passesStrays = true;
            } else {
                throw Failure(codecUnknown, late.name);
            }
        }
    }
}

Conversion::Conversion(int source, int output, Reporter& reporter, const Foreknowledge& known)
    : output_(output),
      reporter_(reporter),
      known_(known),
      recording_(source, known.lookAhead),
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
    return std::int64_t{64} * 1024 + static_cast<std::int64_t>(std::min(packets * bytesOfPacket, 256e6));
}

void Conversion::requireSpace(int output) const {
    struct statvfs space = {};
    // Reserved where the file system can; what is not used is given back at the end.
    if (::fallocate(output, FALLOC_FL_KEEP_SIZE, 0, recording_.size()) == 0) {
        return;
    }
    const int number = errno;
    if (number != EOPNOTSUPP && number != ENOSYS && number != EINTR) {
        throw Failure(mediaconverter::errorOfWriting(number), std::generic_category().message(number));
    }
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
        if (!isKnown(stream) && (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) {
            continue;  // it is asked about when it has a packet
        }
        const Treatment treatment = treatmentOf(stream);
        if (treatment == Treatment::leave) {
            stream.discard = AVDISCARD_ALL;
            reporter_.note(describe(stream) + " has no place in an MP4 and is left out");
            continue;
        }
        // What can't be said again on the way is made anew in one form.
        const bool changes = known_.changingStreams.contains(stream.index);
        addTrack(stream, treatment == Treatment::copy && (!changes || CopiedTrack::canRepeatParameters(stream)));
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
        addCopy(stream, target);
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

void Conversion::addCopy(const AVStream& stream, AVStream& target) {
    const bool changes = known_.changingStreams.contains(stream.index);
    if (changes) {
        reporter_.note(describe(stream) +
                       " changes its parameters on the way; they are repeated with its key pictures");
    }
    tracks_.push_back(std::make_unique<CopiedTrack>(stream, target, timeline_, changes));
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
    for (std::int64_t count = 0; recording_.read(*packet); ++count) {
        take(*packet);
        av_packet_unref(packet.get());
        if (count % 64 == 0) {
            reporter_.progress(recording_.fractionRead() * conversionShare);
        }
    }
    for (const auto& track : tracks_) {
        track->finish(writer_);
    }
    requireContent();
    reportDamage();
}

void Conversion::take(AVPacket& packet) {
    const auto index = static_cast<std::size_t>(packet.stream_index);
    AVStream& stream = *recording_.format().streams[index];
    if (Track* const track = index < trackOfStream_.size() ? trackOfStream_[index] : nullptr) {
        if (av_packet_get_side_data(&packet, AV_PKT_DATA_ENCRYPTION_INFO, nullptr) != nullptr) {
            throw Failure(encrypted, describe(stream));
        }
        track->accept(packet, writer_);
        return;
    }
    const AVMediaType type = stream.codecpar->codec_type;
    const bool isWanted = type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO;
    if (isWanted && (index >= trackOfStream_.size() || stream.discard != AVDISCARD_ALL)) {
        if (known_.passesStrays && hasTrackOf(type)) {
            recording_.addDamage("packets that belong to no stream");
            stream.discard = AVDISCARD_ALL;
            return;
        }
        throw LateStream{recording_.position(), describe(stream), hasTrackOf(type)};
    }
}

bool Conversion::hasTrackOf(AVMediaType type) const {
    return std::any_of(tracks_.begin(), tracks_.end(),
                       [type](const auto& track) { return track->source().codecpar->codec_type == type; });
}

void Conversion::reportDamage() {
    for (const auto& track : tracks_) {
        if (track->undecodable() > 0) {
            recording_.addDamage(std::to_string(track->undecodable()) + " packets could not be decoded");
        }
        if (track->damagedTimes() > 0) {
            recording_.addDamage(std::to_string(track->damagedTimes()) + " packets had no possible time");
        }
    }
    if (writer_.refused() > 0) {
        recording_.addDamage(std::to_string(writer_.refused()) + " packets could not be stored");
    }
}

void Conversion::requireContent() {
    bool hasContent = false;
    for (std::size_t index = 0; index < tracks_.size(); ++index) {
        const AVStream& written = *writer_.format().streams[index];
        const AVMediaType type = written.codecpar->codec_type;
        const bool isContent = (type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO) &&
                               (written.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
        const bool isEmpty = writer_.tallies()[index].packets == 0;
        hasContent = hasContent || (isContent && !isEmpty);
        if (isEmpty) {
            reporter_.note(describe(tracks_[index]->source()) + " holds nothing");
        }
    }
    if (!hasContent) {
        throw Failure(nothingRecorded);
    }
}

void Conversion::prove(int output) {
    reporter_.progress(conversionShare);
    proveMp4(output, writer_.format(), writer_.tallies());
    reporter_.progress(1);
}

}  // namespace worker
