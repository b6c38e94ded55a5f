#include "mediaconverter/worker/proof/Proof.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/proof/SampleReader.h"
#include "mediaconverter/worker/proof/ShownDifference.h"
#include "mediaconverter/worker/reading/SourceReader.h"
#include "mediaconverter/worker/times/MicrosecondBase.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"
#include "mediaconverter/worker/writing/StoredPayload.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace worker {

namespace {

/// Whether one sample may hold several of the recording's packets: frames that are not shown, and substreams.
bool isJoined(const AVStream& stream) {
    return stream.codecpar->codec_id == AV_CODEC_ID_VP9 || stream.codecpar->codec_id == AV_CODEC_ID_EAC3;
}

/// Whether the muxer itself does this, after the packets have been counted.
bool isJoinedByTheMuxer(const AVStream& stream) {
    return stream.codecpar->codec_id == AV_CODEC_ID_EAC3;
}

/// Tracks without packets are not written, and covers are not tracks.
bool isWritten(const ProvedTrack& track) {
    return !isAttachedPicture(track.written) && track.tally.packets > 0;
}

/// False if the muxer has stored no payloads of the track: the recording itself is the data then.
bool isDigested(const ProvedTrack& track) {
    return track.tally.digest.bytes() > 0;
}

std::string nameOf(const AVStream& stream) {
    return "track " + std::to_string(stream.index) + ": ";
}

[[noreturn]] void disprove(const AVStream& stream, const std::string& what) {
    throw TrackFailure{stream.index, Failure(ConversionError::proofFailed, nameOf(stream) + what)};
}

/// MP4 has one object type for all layers of MPEG audio (ISO/IEC 14496-1, 7.2.6.6.2): only the packets say which it is.
AVCodecID nameInMp4(AVCodecID codec) {
    return codec == AV_CODEC_ID_MP1 || codec == AV_CODEC_ID_MP2 ? AV_CODEC_ID_MP3 : codec;
}

void requireRanges(const SourceReader& file, std::span<const WrittenRange> ranges) {
    for (const WrittenRange& range : ranges) {
        if (!range.isIn(file)) {
            throw Failure(ConversionError::proofFailed, "the index is not what was written");
        }
    }
}

class Proof {
public:
    explicit Proof(int descriptor);

    /// Compares what the index says of the track, and adds it to those whose packets are compared.
    void compare(const ProvedTrack& track);

    void comparePackets();

    const SourceReader& reader() const { return reader_; }

    /// A read error makes the whole check fail, even if another attempt succeeded.
    void requireReadable() const;

private:
    AVStream& nextTrack(const AVStream& written);
    void compareNumber(const AVStream& read, const AVStream& written, const TrackTally& tally) const;
    void compareDuration(const AVStream& read, const AVStream& written, const TrackTally& tally) const;
    void readAt(AVStream& read, const AVStream& written, int entry);

    SourceReader reader_;
    InputPointer format_;
    SampleReader samples_{reader_};
    std::vector<const ProvedTrack*> compared_;
    unsigned next_ = 0;
};

Proof::Proof(int descriptor) : reader_(descriptor) {
    AVFormatContext* context = present(avformat_alloc_context());
    context->pb = reader_.context();
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    AVDictionary* options = nullptr;
    // Counts the samples that exist, not those that the edit list shows.
    av_dict_set(&options, "advanced_editlist", "0", 0);
    const int opened = avformat_open_input(&context, "", av_find_input_format("mp4"), &options);
    av_dict_free(&options);
    if (opened < 0) {
        throw Failure::ofLibrary(ConversionError::proofFailed, opened);
    }
    format_.reset(context);
}

void Proof::compare(const ProvedTrack& track) {
    const auto& [written, tally, source, isCopy] = track;
    if (!isWritten(track)) {
        return;
    }
    AVStream& read = nextTrack(written);
    compareNumber(read, written, tally);
    if (isDigested(track)) {
        samples_.addTrack(read, StoredPayload(*written.codecpar).leastSize());
        compared_.push_back(&track);
    }
    if (written.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE) {
        return;
    }
    compareDuration(read, written, tally);
    const int entries = avformat_index_get_entries_count(&read);
    for (const int entry : {0, entries / 2, entries - 1}) {
        readAt(read, written, entry);
    }
}

void Proof::comparePackets() {
    if (!samples_.read()) {
        throw Failure(ConversionError::proofFailed, "a packet is beyond the end of the file");
    }
    for (std::size_t index = 0; index < compared_.size(); ++index) {
        const AVStream& written = compared_[index]->written;
        const TrackDigest& wanted = compared_[index]->tally.digest;
        const TrackDigest& found = samples_.digest(index);
        // Another encoding would not help: memory or a disk has failed.
        if (wanted.bytes() != found.bytes() || wanted.payload() != found.payload()) {
            throw Failure(ConversionError::proofFailed, nameOf(written) + "its packets have another content");
        }
        if (!isJoinedByTheMuxer(written) && wanted.places() != found.places()) {
            disprove(written, "its packets have other sizes or times");
        }
    }
}

void Proof::requireReadable() const {
    try {
        reader_.requireNoError();
    } catch (const Failure& failure) {
        throw Failure(ConversionError::proofFailed, failure.detail);
    }
}

AVStream& Proof::nextTrack(const AVStream& written) {
    while (next_ < format_->nb_streams && isAttachedPicture(*format_->streams[next_])) {
        ++next_;
    }
    if (next_ >= format_->nb_streams) {
        disprove(written, "it is missing");
    }
    AVStream& read = *format_->streams[next_++];
    if (read.codecpar->codec_type != written.codecpar->codec_type ||
        nameInMp4(read.codecpar->codec_id) != nameInMp4(written.codecpar->codec_id)) {
        disprove(written, "it has another codec");
    }
    return read;
}

void Proof::compareNumber(const AVStream& read, const AVStream& written, const TrackTally& tally) const {
    const std::int64_t found = avformat_index_get_entries_count(&read);
    const bool joins = isJoinedByTheMuxer(written);
    // The muxer ends texts with empty samples.
    const bool adds = written.codecpar->codec_type == AVMEDIA_TYPE_SUBTITLE;
    if ((found > tally.packets && !adds) || (found < tally.packets && !joins) || (found == 0 && tally.packets > 0)) {
        disprove(written, std::to_string(tally.packets) + " packets went in, " + std::to_string(found) + " are there");
    }
}

void Proof::compareDuration(const AVStream& read, const AVStream& written, const TrackTally& tally) const {
    // The demuxer reports the shorter one: what is decoded, or what is shown.
    const std::int64_t expected =
        std::min(tally.lastDecodingTime + tally.lastDuration - tally.firstDecodingTime, tally.end - tally.firstTime);
    const std::int64_t found = av_rescale_q(read.duration, read.time_base, written.time_base);
    const std::int64_t frame = std::max(expected / tally.packets, tally.lastDuration) + 1;
    if (std::llabs(found - expected) > frame) {
        disprove(written, "it lasts " + std::to_string(found) + " instead of " + std::to_string(expected) + " ticks");
    }
}

void Proof::readAt(AVStream& read, const AVStream& written, int entry) {
    const AVIndexEntry* const wanted = avformat_index_get_entry(&read, entry);
    const int sought = wanted == nullptr ? AVERROR_INVALIDDATA
                                         : av_seek_frame(format_.get(), read.index, wanted->timestamp,
                                                         AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_ANY);
    const PacketPointer packet = newPacket();
    int result = sought;
    do {
        av_packet_unref(packet.get());
        result = result < 0 ? result : av_read_frame(format_.get(), packet.get());
    } while (result >= 0 && packet->stream_index != read.index);
    if (result < 0 || packet->size == 0 || (packet->flags & AV_PKT_FLAG_CORRUPT) != 0) {
        disprove(written, "packet " + std::to_string(entry) + " cannot be read");
    }
}

Likeness likenessOf(const ProvedTrack& track) {
    if (!track.isCopy && track.written.codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
        return Likeness::otherFrames;
    }
    return isJoined(track.written) ? Likeness::fewer : Likeness::sameNumber;
}

std::int64_t primingOf(const ProvedTrack& track) {
    const AVCodecParameters& parameters = *track.written.codecpar;
    const bool isReencoded = !track.isCopy && parameters.codec_type == AVMEDIA_TYPE_AUDIO && parameters.sample_rate > 0;
    return isReencoded ? av_rescale_q(parameters.initial_padding, {1, parameters.sample_rate}, microsecondBase) : 0;
}

std::string findShownDifference(const SourceReader& reader, const std::vector<ProvedTrack>& tracks) {
    const std::vector<ShownTimes> shown = readShownTimes(reader);
    std::size_t next = 0;
    for (const ProvedTrack& track : tracks) {
        if (!isWritten(track)) {
            continue;
        }
        if (next == shown.size()) {
            disprove(track.written, "it is missing");
        }
        const ShownTimes& found = shown[next++];
        if (isDigested(track) && !isJoinedByTheMuxer(track.written) &&
            found.delays.value() != track.tally.digest.delays()) {
            disprove(track.written, "its packets are shown at other times");
        }
        const std::string difference = findShownDifference(track.source, found, likenessOf(track), primingOf(track));
        if (!difference.empty()) {
            return "track " + std::to_string(track.written.index) + " is not shown as recorded: " + difference;
        }
    }
    return {};
}

}  // namespace

std::string proveMp4(int descriptor, const std::vector<ProvedTrack>& tracks,
                     std::span<const WrittenRange> writtenByMuxer) {
    Proof proof(descriptor);
    std::string difference;
    try {
        requireRanges(proof.reader(), writtenByMuxer);
        for (const ProvedTrack& track : tracks) {
            proof.compare(track);
        }
        proof.comparePackets();
        difference = findShownDifference(proof.reader(), tracks);
    } catch (const TrackFailure&) {
        // A failing disk says nothing about a track: another encoding would not help.
        proof.requireReadable();
        throw;
    }
    proof.requireReadable();
    return difference;
}

}  // namespace worker
