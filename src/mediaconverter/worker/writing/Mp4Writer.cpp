#include "mediaconverter/worker/writing/Mp4Writer.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/times/MicrosecondBase.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"
#include "mediaconverter/worker/writing/ChannelLayoutBox.h"
#include "mediaconverter/worker/writing/TrialMuxer.h"

#include <algorithm>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace worker {

namespace {

using enum ConversionError;

/// How far one track may lag behind another before players would have to seek back and forth.
constexpr std::int64_t mostBehind = AV_TIME_BASE;

/// If more packets than this and more than this share are refused, the track is not what its header says.
constexpr std::int64_t mostRefusals = 8;
constexpr std::int64_t mostRefusedShare = 20;

/// The muxer does not free the table in which it looks for groups of Opus packets if it finds none, as with a clock
/// that counts milliseconds. The process ends soon after; only the leak checker of a sanitized build must not see it.
int writeTrailer(AVFormatContext& format) {
#if defined(__SANITIZE_ADDRESS__)
    const __lsan::ScopedDisabler disabler;
#endif
    return av_write_trailer(&format);
}

void count(const AVPacket& packet, const StoredPayload* stored, TrackTally& tally) {
    const std::span payload(packet.data, static_cast<std::size_t>(packet.size));
    if (stored != nullptr && packet.size >= stored->leastSize()) {
        tally.digest.addPlace(stored->addTo(tally.digest, payload), packet.dts);
        tally.digest.addDelay(packet.pts - packet.dts);
    }
    ++tally.packets;
    tally.lastDecodingTime = packet.dts;
    tally.lastDuration = packet.duration;
    if (tally.firstDecodingTime == AV_NOPTS_VALUE) {
        tally.firstDecodingTime = packet.dts;
        tally.firstTime = packet.pts;
        tally.end = packet.pts;
    }
    tally.end = std::max(tally.end, packet.pts + packet.duration);
}

/// The speakers of FLAC with more than two channels, because their order alone does not determine them.
std::uint32_t channelMaskOf(const AVCodecParameters& track) {
    const AVChannelLayout& layout = track.ch_layout;
    return track.codec_id == AV_CODEC_ID_FLAC && layout.order == AV_CHANNEL_ORDER_NATIVE && layout.nb_channels > 2
               ? static_cast<std::uint32_t>(layout.u.mask)
               : 0;
}

}  // namespace

Mp4Writer::Mp4Writer(std::unique_ptr<MuxerFile> file) : file_(std::move(file)) {
    AVFormatContext* context = nullptr;
    if (const int made = avformat_alloc_output_context2(&context, nullptr, "mp4", nullptr); made < 0) {
        throw Failure::ofLibrary(containerFailed, made);
    }
    format_.reset(context);
    context->pb = file_->context();
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    if (file_->storesPayloads()) {
        context->flags &= ~AVFMT_FLAG_AUTO_BSF;
    }
    context->flush_packets = 0;
    // Formats that the muxer still calls experimental (such as FLAC) are supported by every current player.
    context->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
}

AVStream& Mp4Writer::addTrack() {
    AVStream& track = *present(avformat_new_stream(format_.get(), nullptr));
    tallies_.emplace_back();
    times_.emplace_back(track);
    refusals_.emplace_back();
    firstPackets_.emplace_back();
    filters_.emplace_back(track);
    return track;
}

void Mp4Writer::start(bool keepOrder, Clocks clocks) {
    keepOrder_ = keepOrder;
    clocks_ = clocks;
    if (const int written = writeHeader(); written < 0) {
        blameTrack(written);
    }
    for (unsigned track = 0; track < format_->nb_streams; ++track) {
        stored_.emplace_back(*format_->streams[track]->codecpar);
    }
    queue_.start(*format_);
    file_->headerWritten();
}

int Mp4Writer::writeHeader() {
    if (clocks_ == Clocks::exact) {
        return avformat_write_header(format_.get(), nullptr);
    }
    constexpr int milliseconds = 1000;
    // The muxer derives the clock of an audio track from its sample rate, which it does not read again until it writes
    // the index.
    std::vector<int> rates;
    for (unsigned track = 0; track < format_->nb_streams; ++track) {
        AVCodecParameters& parameters = *format_->streams[track]->codecpar;
        rates.push_back(std::exchange(parameters.sample_rate, parameters.sample_rate > 0 ? milliseconds : 0));
    }
    AVDictionary* options = nullptr;
    av_dict_set_int(&options, "video_track_timescale", milliseconds, 0);
    const int written = avformat_write_header(format_.get(), &options);
    av_dict_free(&options);
    for (unsigned track = 0; track < format_->nb_streams; ++track) {
        format_->streams[track]->codecpar->sample_rate = rates[track];
    }
    return written;
}

void Mp4Writer::write(AVPacket& packet) {
    times_[static_cast<std::size_t>(packet.stream_index)].correct(packet, clocks_ == Clocks::exact);
    if (keepOrder_ && file_->keepsOrder() && isOutOfOrder(packet)) {
        keepOrder_ = false;
    }
    if (keepOrder_) {
        store(packet);
        return;
    }
    queue_.push(packet);
    storeQueued(false);
}

void Mp4Writer::storeQueued(bool all) {
    while (const PacketPointer next = queue_.pop(all)) {
        store(*next);
    }
}

void Mp4Writer::store(AVPacket& packet) {
    const auto index = static_cast<std::size_t>(packet.stream_index);
    if (!firstPackets_[index]) {
        firstPackets_[index].reset(present(av_packet_clone(&packet)));
    }
    // Where payloads are not stored, the muxer must not change them either, and the file notices if it does.
    const int stored =
        file_->storesPayloads()
            ? filters_[index].pass(packet, [this](AVPacket& filtered) { return storeFiltered(filtered); })
            : storeFiltered(packet);
    av_packet_unref(&packet);
    if (stored < 0) {
        refuse(index, stored);
    }
}

int Mp4Writer::storeFiltered(AVPacket& packet) {
    file_->packetFollows(packet);
    const int written = av_write_frame(format_.get(), &packet);
    file_->packetWritten(packet);
    if (format_->pb->error < 0) {
        file_->requireNoError();
    }
    // The muxer accepts the side data of an empty packet, but stores nothing.
    if (written >= 0 && packet.size > 0) {
        const auto index = static_cast<std::size_t>(packet.stream_index);
        count(packet, file_->storesPayloads() ? &stored_[index] : nullptr, tallies_[index]);
    }
    return written;
}

void Mp4Writer::refuse(std::size_t track, int error) {
    const Failure why = Failure::ofLibrary(containerFailed, error);
    if (why.error != containerFailed) {
        throw why;
    }
    ++refused_;
    if (++refusals_[track] > mostRefusals && refusals_[track] * mostRefusedShare > tallies_[track].packets) {
        throw TrackFailure{static_cast<int>(track), why};
    }
}

void Mp4Writer::storeRest() {
    storeQueued(true);
    requireTracksWithPackets();
}

void Mp4Writer::finish() {
    file_->dataWritten();
    if (const int ended = writeTrailer(*format_); ended < 0) {
        blameTrack(ended);
    }
    file_->placeIndex(channelMasks());
}

std::vector<std::uint32_t> Mp4Writer::channelMasks() const {
    std::vector<std::uint32_t> masks;
    for (std::size_t index = 0; index < tallies_.size(); ++index) {
        const AVStream& track = *format_->streams[index];
        // The muxer writes no box for other tracks.
        if (tallies_[index].packets > 0 && !isAttachedPicture(track)) {
            masks.push_back(channelMaskOf(*track.codecpar));
        }
    }
    return masks;
}

void Mp4Writer::requireTracksWithPackets() const {
    for (std::size_t track = 0; track < tallies_.size(); ++track) {
        if (tallies_[track].packets == 0 && refusals_[track] > 0) {
            throw TrackFailure{static_cast<int>(track),
                               Failure(containerFailed, "the muxer takes none of its packets")};
        }
    }
}

void Mp4Writer::blameTrack(int error) {
    file_->requireNoError();
    const Failure why = Failure::ofLibrary(containerFailed, error);
    for (std::size_t track = 0; why.error == containerFailed && track < firstPackets_.size(); ++track) {
        if (!isTakenByMuxer(*format_->streams[track], firstPackets_[track].get())) {
            throw TrackFailure{static_cast<int>(track), why};
        }
    }
    throw why;
}

bool Mp4Writer::isOutOfOrder(const AVPacket& packet) {
    const std::int64_t time =
        av_rescale_q(packet.dts, format_->streams[packet.stream_index]->time_base, microsecondBase);
    furthest_ = std::max(furthest_, time);
    return time < furthest_ - mostBehind;
}

}  // namespace worker
