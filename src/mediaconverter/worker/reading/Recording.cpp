#include "mediaconverter/worker/reading/Recording.h"

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/FfmpegVersions.h"
#include "mediaconverter/worker/reading/Formats.h"
#include "mediaconverter/worker/reading/FragmentGaps.h"

#include <algorithm>
#include <cstdarg>
#include <string>

namespace worker {

namespace {

using enum ConversionError;

/// A coincidental match scores lower than this.
constexpr int leastScore = AVPROBE_SCORE_RETRY;

constexpr std::int64_t probeBytes = std::int64_t{5} * 1024 * 1024;
constexpr int mostStreams = 200;
constexpr int mostAnalyzedSeconds = 30;

/// A demuxer that fails this often without a packet in between has lost its way for good.
constexpr int mostErrorsInARow = 256;

/// For H.264 the library decodes some frames to find out by how many they are reordered. The baseline profile has no
/// bidirectional frames (ITU-T H.264, A.2.1), so there is nothing to find out; fast recorders use it, and their frames
/// are large. The profile follows the version (ISO/IEC 14496-15, 5.3.3.1).
bool isShownAsItComes(const AVStream& stream) {
    constexpr std::uint8_t version = 1;
    constexpr std::uint8_t baselineProfile = 66;
    const AVCodecParameters& parameters = *stream.codecpar;
    return parameters.codec_id == AV_CODEC_ID_H264 && parameters.width > 0 && parameters.extradata_size > 1 &&
           parameters.extradata[0] == version && parameters.extradata[1] == baselineProfile;
}

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

Failure failureOfOpening(const AVInputFormat& format, int number) {
    if (number == AVERROR_EOF) {
        return Failure(nothingRecorded);
    }
    if (number == AVERROR_INVALIDDATA && formats::isMov(format)) {
        return Failure(indexMissing);
    }
    return Failure::ofLibrary(notARecording, number);
}

}  // namespace

Recording::Recording(int descriptor, std::int64_t lookAhead, const std::vector<Patch>& patches) : reader_(descriptor) {
    // The accounting finds damage; messages are not needed.
    av_log_set_callback([](void*, int, const char*, va_list) {});
    for (const Patch& patch : patches) {
        reader_.patch(patch.start, patch.bytes);
    }
    open();
    if (lookAhead > 0) {
        learnStreamsAt(lookAhead);
    } else {
        analyze();
    }
}

Recording::~Recording() = default;

void Recording::open() {
    AVIOContext* const bytes = reader_.context();
    const AVInputFormat* found = nullptr;
    const int score = av_probe_input_buffer2(bytes, &found, ffmpeg::probedName, nullptr, 0, 1U << 20U);
    reader_.requireNoError();
    if (found != nullptr && formats::isRefused(*found)) {
        throw Failure(formatRefused, found->name);
    }
    if (score <= leastScore || found == nullptr || !formats::isAllowed(*found)) {
        throw Failure(notARecording, found == nullptr ? "" : found->name);
    }

    if (formats::isMov(*found)) {
        coverGaps();
    }
    correctHeader(accounting_.begin(*found));
    reader_.setObserver(
        [this](std::int64_t position, std::span<const std::uint8_t> read) { accounting_.follow(position, read); });
    AVFormatContext* context = present(avformat_alloc_context());
    context->pb = bytes;
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    context->io_open = refuseToOpen;
    context->probesize = probeBytes;
    context->max_analyze_duration = std::int64_t{mostAnalyzedSeconds} * AV_TIME_BASE;
    context->max_streams = mostStreams;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    // A broadcast stream continues after a hole of any length.
    av_dict_set(&options, "resync_size", "2147483647", 0);
    const int opened = avformat_open_input(&context, "", found, &options);
    av_dict_free(&options);
    reader_.requireNoError();
    if (opened < 0) {
        throw failureOfOpening(*found, opened);
    }
    format_.reset(context);
    if (formats::isFlv(*found)) {
        flv_.emplace(reader_);
    }
}

void Recording::analyze() {
    std::vector<AVDictionary*> options(format_->nb_streams, nullptr);
    for (unsigned index = 0; index < format_->nb_streams; ++index) {
        if (isShownAsItComes(*format_->streams[index])) {
            // Decodes one frame, and of it only the format, which the container need not state.
            av_dict_set(&options[index], "skip_frame", "nokey", 0);
            av_dict_set(&options[index], "skip_idct", "all", 0);
            av_dict_set(&options[index], "skip_loop_filter", "all", 0);
        }
    }
    const int analyzed = avformat_find_stream_info(format_.get(), options.data());
    for (AVDictionary*& set : options) {
        av_dict_free(&set);
    }
    reader_.requireNoError();
    if (analyzed < 0) {
        throw Failure::ofLibrary(notARecording, analyzed);
    }
}

void Recording::learnStreamsAt(std::int64_t position) {
    const PacketPointer packet = newPacket();
    while (this->position() < position && av_read_frame(format_.get(), packet.get()) >= 0) {
        av_packet_unref(packet.get());
    }
    // The library can analyze only once; this finds every stream that is in its header or continues at this position.
    analyze();
    // The result stays; reading starts over.
    const std::int64_t start = flv_ ? FlvTrail::firstTag : 0;
    if (const int sought = av_seek_frame(format_.get(), -1, start, AVSEEK_FLAG_BYTE); sought < 0) {
        throw Failure::ofLibrary(readFailed, sought);
    }
}

bool Recording::read(AVPacket& packet) {
    if (!readWhole(packet)) {
        return false;
    }
    accounting_.addDelivered(packet, *format_->streams[packet.stream_index]);
    return true;
}

bool Recording::readWhole(AVPacket& packet) {
    do {
        while (!readOn(packet)) {
            if (!resumeAfterDamage()) {
                return cutPackets_.release(packet, *format_);
            }
        }
    } while (isKeptBack(packet));
    return true;
}

bool Recording::isKeptBack(AVPacket& packet) {
    const AVStream& stream = *format_->streams[packet.stream_index];
    if (accounting_.dropZeroTail(packet, stream)) {
        return true;
    }
    return cutPackets_.hold(packet, stream, avio_tell(format_->pb) >= size());
}

const std::vector<std::string>& Recording::settle() {
    accounting_.settle(*format_);
    reader_.requireNoError();
    if (const std::string lost = accounting_.lost(); !lost.empty()) {
        addDamage(lost);
    }
    return accounting_.notes();
}

bool Recording::readOn(AVPacket& packet) {
    while (true) {
        const int result = av_read_frame(format_.get(), &packet);
        if (result >= 0) {
            errorsInARow_ = 0;
            // The library hides data that a fragment repeats from earlier times; no edit list asks for that.
            if (packet.pos >= firstFragment_) {
                packet.flags &= ~AV_PKT_FLAG_DISCARD;
            }
            follow(packet);
            return true;
        }
        reader_.requireNoError();
        if (isOutOfMemory(result)) {
            throw Failure(workerOutOfMemory);
        }
        if (result == AVERROR_EOF || ++errorsInARow_ > mostErrorsInARow) {
            return false;
        }
    }
}

void Recording::follow(const AVPacket& packet) {
    const std::string skipped = flv_ ? flv_->follow(packet) : std::string();
    if (!skipped.empty()) {
        addDamage(skipped);
    }
}

bool Recording::resumeAfterDamage() {
    const auto next = flv_ ? flv_->findMore() : std::nullopt;
    if (!next) {
        return false;
    }
    addDamage(flv_->gap());
    if (av_seek_frame(format_.get(), -1, *next, AVSEEK_FLAG_BYTE) < 0) {
        return false;
    }
    flv_->continueAt(*next);
    return true;
}

void Recording::coverGaps() {
    const Fragmentation fragmentation = findFragments(reader_);
    firstFragment_ = fragmentation.first;
    for (const FragmentGap& gap : fragmentation.gaps) {
        reader_.coverWithFreeBox(gap.start, gap.end);
        // A cut at the end of the recording is accounted for with the rest.
        if (gap.end == reader_.size()) {
            continue;
        }
        addDamage("bytes " + std::to_string(gap.start) + " to " + std::to_string(gap.end) + " are no fragment");
    }
    readAgain();
}

void Recording::correctHeader(const Corrections& corrections) {
    for (const Patch& patch : corrections.patches) {
        reader_.patch(patch.start, patch.bytes);
    }
    if (corrections.end) {
        reader_.endAt(*corrections.end);
    }
    if (!corrections.patches.empty() || corrections.end) {
        readAgain();
    }
}

/// The data buffered during probing was read without the patches.
void Recording::readAgain() {
    avio_flush(reader_.context());
    avio_seek(reader_.context(), 0, SEEK_SET);
}

bool Recording::givesPresentationTimes() const {
    return formats::givesPresentationTimes(*format_->iformat);
}

PictureOrder::Times Recording::timesOfPictures() const {
    return formats::placesPicturesInOrder(*format_->iformat) ? PictureOrder::Times::ofShowing
                                                             : PictureOrder::Times::ofDecoding;
}

double Recording::fractionRead() const {
    return std::clamp(static_cast<double>(reader_.position()) / static_cast<double>(std::max<std::int64_t>(size(), 1)),
                      0.0, 1.0);
}

void Recording::addDamage(const std::string& what) {
    if (damage_.empty()) {
        damage_ = what;
    }
}

}  // namespace worker
