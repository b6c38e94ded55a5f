#include "mediaconverter/worker/Conversion.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/proof/Proof.h"
#include "mediaconverter/worker/sharing/NotShareable.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"
#include "mediaconverter/worker/tracks/TranscodedText.h"
#include "mediaconverter/worker/tracks/TranscodedTrack.h"
#include "mediaconverter/worker/writing/FileDescription.h"
#include "mediaconverter/worker/writing/Mp4File.h"
#include "mediaconverter/worker/writing/OutputSpace.h"

#include <algorithm>

namespace worker {

namespace {

using enum ConversionError;

/// The share of reading and writing in the worker's work; the rest is the verification.
constexpr double conversionShare = 0.98;

/// Times that differ by less are equal but for rounding to milliseconds. Microseconds.
constexpr std::int64_t leastEarlier = 2000;

}  // namespace

Conversion::Conversion(int source, int output, Reporter& reporter, const Foreknowledge& known)
    : output_(output),
      reporter_(reporter),
      known_(known),
      recording_(source, known.lookAhead, known.patches),
      choice_(recording_.format(), known),
      beginning_(recording_),
      shared_(tryToShare(source)),
      writer_(makeFile()),
      timeline_(std::min(known.start.value_or(INT64_MAX), beginning_.time()),
                (recording_.format().iformat->flags & AVFMT_TS_DISCONT) != 0) {}

std::unique_ptr<SharedLane> Conversion::tryToShare(int source) {
    if (known_.copiesPackets || !SharedLane::isPossible(recording_.format())) {
        return nullptr;
    }
    try {
        return std::make_unique<SharedLane>(source, output_, recording_, beginning_, choice_);
    } catch (const NotShareable& obstacle) {
        if (!obstacle.isNotedElsewhere) {
            reporter_.note("its packets are copied one by one: " + obstacle.why);
        }
        return nullptr;
    }
}

std::unique_ptr<MuxerFile> Conversion::makeFile() {
    if (shared_) {
        return shared_->makeFile();
    }
    return std::make_unique<Mp4File>(output_, estimateIndex(recording_.format(), recording_.size()));
}

void Conversion::run() {
    try {
        makeMp4();
    } catch (const TrackFailure& failure) {
        learnFrom(failure);
    }
}

void Conversion::learnFrom(const TrackFailure& failure) {
    const Track& track = *tracks_.at(static_cast<std::size_t>(failure.track));
    const AVStream& stream = track.source();
    if (!track.isCopy()) {
        throw failure.why;
    }
    reporter_.note(describe(stream) + " cannot be stored as it is: " + failure.why.detail);
    throw UnstorableStream{stream.index, failure.why};
}

void Conversion::makeMp4() {
    addTracks();
    copyMetadata(recording_.format(), writer_.format());
    copyChapters(recording_.format(), writer_.format(), timeline_.origin());
    writer_.start(onlyCopies_, known_.hasLongPauses ? Mp4Writer::Clocks::milliseconds : Mp4Writer::Clocks::exact);
    convert();
    writer_.finish();
    prove(output_);
    if (!recording_.damage().empty()) {
        reporter_.damaged(recording_.damage());
    }
}

void Conversion::addTracks() {
    const AVFormatContext& format = recording_.format();
    trackOfStream_.assign(format.nb_streams, nullptr);
    bool hasContent = false;
    for (unsigned index = 0; index < format.nb_streams; ++index) {
        AVStream& stream = *format.streams[index];
        if (!isKnown(stream) && !isAttachedPicture(stream)) {
            continue;  // decided when it has a packet
        }
        const Treatment treatment = treatmentOf(stream);
        if (treatment == Treatment::leave) {
            stream.discard = AVDISCARD_ALL;
            reporter_.note(describe(stream) + " has no place in an MP4 and is left out");
            continue;
        }
        if (!isContent(stream) && known_.unstorableStreams.contains(stream.index)) {
            stream.discard = AVDISCARD_ALL;
            recording_.addDamage(describe(stream) + " cannot be stored");
            continue;
        }
        addTrack(stream, treatment == Treatment::copy && choice_.isCopied(stream));
        trackOfStream_[index] = tracks_.back().get();
        const AVMediaType type = stream.codecpar->codec_type;
        hasContent = hasContent || type == AVMEDIA_TYPE_VIDEO || type == AVMEDIA_TYPE_AUDIO;
    }
    if (!hasContent) {
        throw Failure(nothingRecorded);
    }
    if (onlyCopies_ && !(shared_ && shared_->sharesBlocks())) {
        reserveSpace(output_, recording_.size());
    }
}

void Conversion::addTrack(const AVStream& stream, bool copies) {
    AVStream& target = writer_.addTrack();
    const AVMediaType type = stream.codecpar->codec_type;
    if (copies) {
        addCopy(stream, target);
        return;
    }
    reporter_.note(describe(stream) + " is re-encoded");
    if (type == AVMEDIA_TYPE_VIDEO) {
        tracks_.push_back(std::make_unique<TranscodedVideo>(stream, target, timeline_, choice_.planFor(stream)));
    } else if (type == AVMEDIA_TYPE_AUDIO) {
        tracks_.push_back(std::make_unique<TranscodedAudio>(stream, target, timeline_, choice_.planFor(stream)));
    } else {
        tracks_.push_back(std::make_unique<TranscodedText>(stream, target, timeline_));
    }
    onlyCopies_ = false;
}

void Conversion::addCopy(const AVStream& stream, AVStream& target) {
    const bool changes = known_.changingStreams.contains(stream.index);
    if (changes) {
        reporter_.note(describe(stream) +
                       " changes its parameters in mid-stream; they are repeated with its key frames");
    }
    // Clocks of milliseconds cannot count such frames.
    const bool hasGrid = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !known_.hasLongPauses;
    const auto grid = hasGrid ? FrameGrid::of(stream, beginning_.timesOf(stream.index)) : std::nullopt;
    tracks_.push_back(std::make_unique<CopiedTrack>(stream, target, timeline_, changes, grid));
}

void Conversion::convert() {
    const PacketPointer packet = newPacket();
    for (std::int64_t count = 0; read(*packet); ++count) {
        try {
            passToTrack(*packet);
        } catch (const OutgrownForm&) {
            surveyRest();
        }
        av_packet_unref(packet.get());
        if (count % 64 == 0) {
            reporter_.progress(fractionRead() * conversionShare);
        }
    }
    // A recording whose packets are not copied has been read completely, by a stricter reader.
    if (!shared_) {
        settleAccount();
    }
    try {
        for (const auto& track : tracks_) {
            track->finish(writer_);
        }
    } catch (const OutgrownForm&) {
        surveyRest();
    }
    writer_.storeRest();
    requireContent();
    reportDamage();
}

void Conversion::surveyRest() {
    const PacketPointer packet = newPacket();
    while (beginning_.read(*packet)) {
        const auto index = static_cast<std::size_t>(packet->stream_index);
        if (Track* const track = index < trackOfStream_.size() ? trackOfStream_[index] : nullptr) {
            track->survey(packet.get());
        }
        av_packet_unref(packet.get());
    }
    LearnedForms learned;
    for (const auto& track : tracks_) {
        track->survey(nullptr);
        if (const TrackForm* const form = track->form()) {
            learned.forms.emplace(track->source().index, *form);
        }
    }
    reporter_.note("a re-encoded track grows in mid-stream; restarted with its largest form");
    throw learned;
}

void Conversion::passToTrack(AVPacket& packet) {
    const auto index = static_cast<std::size_t>(packet.stream_index);
    AVStream& stream = *recording_.format().streams[index];
    if (Track* const track = index < trackOfStream_.size() ? trackOfStream_[index] : nullptr) {
        if (av_packet_get_side_data(&packet, AV_PKT_DATA_ENCRYPTION_INFO, nullptr) != nullptr) {
            throw Failure(encrypted, describe(stream));
        }
        track->accept(packet, writer_);
        requireNoEarlierStart(*track);
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

void Conversion::requireNoEarlierStart(const Track& track) const {
    const std::int64_t earliest = track.sourceTimes().earliest();
    if (isContent(track.source()) && earliest < -leastEarlier && !known_.startIsFinal) {
        throw EarlierStart{timeline_.origin() + earliest};
    }
}

bool Conversion::hasTrackOf(AVMediaType type) const {
    return std::any_of(tracks_.begin(), tracks_.end(),
                       [type](const auto& track) { return track->source().codecpar->codec_type == type; });
}

void Conversion::settleAccount() {
    const auto& notes = recording_.settle();
    if (auto patches = recording_.patches(); !patches.empty() && known_.patches.empty()) {
        throw MissedPackets{std::move(patches)};
    }
    for (const std::string& note : notes) {
        reporter_.note(note);
    }
}

void Conversion::reportDamage() {
    for (const auto& track : tracks_) {
        if (track->undecodable() > 0) {
            recording_.addDamage(std::to_string(track->undecodable()) + " packets could not be decoded");
        }
        if (track->concealed() > 0) {
            recording_.addDamage(std::to_string(track->concealed()) + " frames were damaged and are made up in part");
        }
        if (track->damagedTimes() > 0) {
            recording_.addDamage(std::to_string(track->damagedTimes()) + " packets had impossible times");
        }
        if (!track->isInStep()) {
            recording_.addDamage("the clock of " + describe(track->source()) + " contradicts another");
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
        const bool isEmpty = writer_.tallies()[index].packets == 0;
        hasContent = hasContent || (isContent(written) && !isEmpty);
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
    std::vector<ProvedTrack> tracks;
    for (std::size_t index = 0; index < tracks_.size(); ++index) {
        tracks.push_back({*writer_.format().streams[index], writer_.tallies()[index], tracks_[index]->sourceTimes(),
                          tracks_[index]->isCopy()});
    }
    const std::string difference = proveMp4(output, tracks, writer_.writtenByMuxer());
    if (shared_) {
        shared_->prove();
    }
    if (!difference.empty()) {
        recording_.addDamage(difference);
    }
    reporter_.progress(1);
}

}  // namespace worker
