#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/TranscodedTrack.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace worker {

namespace {

/// Nobody sees a difference from the source at this quality; the preset keeps an hour's meeting an affair of minutes.
constexpr const char* quality = "18";
constexpr const char* preset = "veryfast";

constexpr AVRational usualRate = {25, 1};

/// 4:2:0 pictures have even sizes; the one odd line is gained, not lost.
int even(int size) {
    return std::max(2, size + (size & 1));
}

}  // namespace

TranscodedVideo::TranscodedVideo(const AVStream& source, AVStream& target, Timeline& timeline)
    : TranscodedTrack(source, target, timeline) {
    const AVCodecParameters& parameters = *source.codecpar;
    makeEncoder("libx264");
    AVCodecContext& x264 = encoder();
    x264.width = encoderWidth_ = even(parameters.width);
    x264.height = encoderHeight_ = even(parameters.height);
    x264.pix_fmt = AV_PIX_FMT_YUV420P;
    x264.sample_aspect_ratio = source.sample_aspect_ratio;
    x264.color_range = AVCOL_RANGE_MPEG;
    x264.color_primaries = parameters.color_primaries;
    x264.color_trc = parameters.color_trc;
    // Pictures of red, green and blue get the matrix of their size; all others keep the one they have.
    x264.colorspace = parameters.color_space == AVCOL_SPC_RGB ? AVCOL_SPC_UNSPECIFIED : parameters.color_space;
    x264.time_base = source.time_base;
    const AVRational rate = source.avg_frame_rate.num > 0 ? source.avg_frame_rate : source.r_frame_rate;
    x264.framerate = rate.num > 0 && rate.den > 0 ? rate : usualRate;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "crf", quality, 0);
    av_dict_set(&options, "preset", preset, 0);
    openEncoder(options);
}

std::string TranscodedVideo::filters(const AVFrame&) const {
    std::array<char, 128> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(),
                                    "scale=%d:%d:flags=bicubic:out_range=tv,format=pix_fmts=yuv420p", encoderWidth_,
                                    encoderHeight_));
    return text.data();
}

std::string TranscodedVideo::sourceArguments(const AVFrame& frame) const {
    const AVRational base = source().time_base;
    const AVRational aspect = frame.sample_aspect_ratio;
    std::array<char, 256> text{};
    static_cast<void>(std::snprintf(
        text.data(), text.size(), "video_size=%dx%d:pix_fmt=%d:time_base=%d/%d:pixel_aspect=%d/%d", frame.width,
        frame.height, frame.format, base.num, base.den, aspect.num, std::max(aspect.den, 1)));
    return text.data();
}

bool TranscodedVideo::isLike(const AVFrame& frame) const {
    return frame.width == width_ && frame.height == height_ && frame.format == format_;
}

void TranscodedVideo::remember(const AVFrame& frame) {
    width_ = frame.width;
    height_ = frame.height;
    format_ = frame.format;
}

}  // namespace worker
