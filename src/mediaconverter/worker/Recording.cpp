#include "mediaconverter/worker/Recording.h"

#include "mediaconverter/worker/Failure.h"

extern "C" {
#include <libavutil/avstring.h>
}

#include <algorithm>
#include <string>

namespace worker {

namespace {

using enum ConversionError;

/// Formats that are one local file each. Playlists, scripts, sequences of pictures, devices and network formats are
/// not among them, nor texts, which anything can be taken for.
constexpr const char* allowedFormats =
    "matroska,webm,mov,mp4,m4a,3gp,3g2,mj2,mpegts,mpeg,flv,live_flv,kux,avi,mxf,ogg,wav,w64,asf,asf_o,wtv,nut,nsv,rm,"
    "gxf,dv,ivf,obu,av1,h264,hevc,m4v,mpegvideo,vc1,dirac,yuv4mpegpipe,aac,ac3,eac3,mp3,flac,aiff,au,caf,dts,dtshd,"
    "truehd,mlp,amr,ape,tta,wv,voc,loas,lmlm4,pva,mlv,dhav,avs2,avs3,swf,rso,ircam";

/// Formats that name other files. A file of these is told apart from one that is nothing at all.
constexpr const char* refusedFormats =
    "hls,applehttp,dash,concat,ffmetadata,image2,image2pipe,imf,webm_dash_manifest,sdp,rtsp,lavfi,srt,ass,webvtt,"
    "subviewer,subviewer1,microdvd,mpl2,mpsub,jacosub,sami,realtext,pjs,vplayer,stl,tedcaptions,tty,lrc,aqtitle,scc";

/// A chance likeness scores lower than this.
constexpr int leastScore = AVPROBE_SCORE_RETRY;

constexpr std::int64_t probeBytes = std::int64_t{5} * 1024 * 1024;
constexpr int mostStreams = 200;
constexpr int mostAnalyzedSeconds = 30;

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

bool isListed(const AVInputFormat& format, const char* list) {
    return av_match_list(format.name, list, ',') > 0;
}

Failure failureOfOpening(const AVInputFormat& format, int number) {
    if (number == AVERROR_INVALIDDATA && isListed(format, "mov")) {
        return Failure(indexMissing);
    }
    return Failure::ofLibrary(notARecording, number);
}

}  // namespace

Recording::Recording(int descriptor) : reader_(descriptor) {
    open();
}

void Recording::open() {
    AVIOContext* const bytes = reader_.context();
    const AVInputFormat* found = nullptr;
    const int score = av_probe_input_buffer2(bytes, &found, "", nullptr, 0, 1U << 20U);
    reader_.requireNoError();
    if (found != nullptr && isListed(*found, refusedFormats)) {
        throw Failure(formatRefused, found->name);
    }
    if (score <= leastScore || found == nullptr || !isListed(*found, allowedFormats)) {
        throw Failure(notARecording, found == nullptr ? "" : found->name);
    }

    AVFormatContext* context = present(avformat_alloc_context());
    context->pb = bytes;
    context->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_GENPTS;
    context->io_open = refuseToOpen;
    context->probesize = probeBytes;
    context->max_analyze_duration = std::int64_t{mostAnalyzedSeconds} * AV_TIME_BASE;
    context->max_streams = mostStreams;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    const int opened = avformat_open_input(&context, "", found, &options);
    av_dict_free(&options);
    reader_.requireNoError();
    if (opened < 0) {
        throw failureOfOpening(*found, opened);
    }
    format_.reset(context);
    const int analyzed = avformat_find_stream_info(context, nullptr);
    reader_.requireNoError();
    if (analyzed < 0) {
        throw Failure::ofLibrary(notARecording, analyzed);
    }
}

bool Recording::read(AVPacket& packet) {
    const int result = av_read_frame(format_.get(), &packet);
    if (result >= 0) {
        return true;
    }
    reader_.requireNoError();
    if (result == AVERROR(ENOMEM)) {
        throw Failure(workerOutOfMemory);
    }
    if (result != AVERROR_EOF) {
        addDamage("the end from byte " + std::to_string(reader_.position()) + " on");
    }
    return false;
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
