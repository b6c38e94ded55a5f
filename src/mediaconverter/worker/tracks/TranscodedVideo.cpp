#include "mediaconverter/worker/tracks/CodecThreads.h"
#include "mediaconverter/worker/tracks/TranscodedTrack.h"

extern "C" {
#include <libavutil/cpu.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cstdio>

namespace worker {

namespace {

/// At this quality no difference from the source is visible; the preset re-encodes an hour's meeting in minutes.
constexpr const char* quality = "18";
constexpr const char* preset = "veryfast";

constexpr AVRational usualRate = {25, 1};

/// 4:2:0 frames have even sizes; an odd line is added, not removed.
int even(int size) {
    return std::max(2, size + (size & 1));
}

bool isSet(AVRational ratio) {
    return ratio.num > 0 && ratio.den > 0;
}

double aspectOr1(AVRational ratio) {
    return isSet(ratio) ? av_q2d(ratio) : 1;
}

/// Whether the frames are RGB, or use palettes of RGB colors.
bool isRgb(int format) {
    const AVPixFmtDescriptor* const description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return description != nullptr && (description->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0;
}

/// The standard for RGB frames, chosen by size as players do (ITU-R BT.709, BT.601).
struct ColorStandard {
    const char* matrixName;
    AVColorSpace matrix;
    AVColorPrimaries primaries;
    AVColorTransferCharacteristic transfer;
};

ColorStandard standardFor(int width, int height) {
    constexpr int mostWidthOfStandardDefinition = 1024;
    constexpr int mostHeightOfStandardDefinition = 576;
    if (width > mostWidthOfStandardDefinition || height > mostHeightOfStandardDefinition) {
        return {"bt709", AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_BT709};
    }
    return {"smpte170m", AVCOL_SPC_SMPTE170M, AVCOL_PRI_SMPTE170M, AVCOL_TRC_SMPTE170M};
}

void describeColors(AVCodecContext& encoder, const AVCodecParameters& source) {
    encoder.color_range = AVCOL_RANGE_MPEG;
    encoder.color_primaries = source.color_primaries;
    encoder.color_trc = source.color_trc;
    encoder.colorspace = source.color_space;
    if (isRgb(source.format) || source.color_space == AVCOL_SPC_RGB) {
        const ColorStandard standard = standardFor(encoder.width, encoder.height);
        encoder.colorspace = standard.matrix;
        if (source.color_primaries == AVCOL_PRI_UNSPECIFIED) {
            encoder.color_primaries = standard.primaries;
        }
        if (source.color_trc == AVCOL_TRC_UNSPECIFIED) {
            encoder.color_trc = standard.transfer;
        }
    }
}

}  // namespace

TranscodedVideo::TranscodedVideo(const AVStream& source, AVStream& target, Timeline& timeline, const FormPlan& plan)
    : TranscodedTrack(source, target, timeline, plan) {
    const TrackForm& form = plan.form;
    makeEncoder("libx264");
    AVCodecContext& x264 = encoder();
    x264.width = even(form.width);
    x264.height = even(form.height);
    x264.pix_fmt = AV_PIX_FMT_YUV420P;
    x264.sample_aspect_ratio = form.pixelAspect;
    describeColors(x264, *source.codecpar);
    if (form.isInterlaced) {
        x264.flags |= AV_CODEC_FLAG_INTERLACED_DCT;
        x264.field_order = form.topFieldFirst ? AV_FIELD_TT : AV_FIELD_BB;
    }
    x264.thread_count =
        codecThreadsFor(std::int64_t{x264.width} * x264.height, av_cpu_count(), plan.videoTracks).encoder;
    x264.time_base = source.time_base;
    const AVRational rate = source.avg_frame_rate.num > 0 ? source.avg_frame_rate : source.r_frame_rate;
    x264.framerate = isSet(rate) ? rate : usualRate;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "crf", quality, 0);
    av_dict_set(&options, "preset", preset, 0);
    if (form.isInterlaced) {
        // The library sets the order of the fields too late for the stream's header.
        av_dict_set(&options, "x264-params", form.topFieldFirst ? "tff=1" : "bff=1", 0);
    }
    openEncoder(options);
}

TranscodedVideo::Size TranscodedVideo::placed(const AVFrame& frame) const {
    const Size whole = {encoder().width, encoder().height};
    const double width = frame.width * aspectOr1(frame.sample_aspect_ratio) / aspectOr1(encoder().sample_aspect_ratio);
    const double scale = std::min(whole.width / width, static_cast<double>(whole.height) / frame.height);
    const Size size = {even(static_cast<int>(width * scale)), even(static_cast<int>(frame.height * scale))};
    // A bar of a line or two would only be a rounding error.
    constexpr int leastBar = 4;
    return {whole.width - size.width < leastBar ? whole.width : size.width,
            whole.height - size.height < leastBar ? whole.height : size.height};
}

std::string TranscodedVideo::filters(const AVFrame& frame) const {
    const Size size = placed(frame);
    const int width = encoder().width;
    const int height = encoder().height;
    std::string text = "scale=" + std::to_string(size.width) + ":" + std::to_string(size.height) +
                       ":flags=bicubic:interl=-1:out_range=tv";
    if (isRgb(frame.format)) {
        text += std::string(":out_color_matrix=") + standardFor(width, height).matrixName;
    }
    text += ",format=pix_fmts=yuv420p";
    if (size.width < width || size.height < height) {
        // Whole chroma pixels, so that no edge gets blurred.
        text += ",pad=" + std::to_string(width) + ":" + std::to_string(height) + ":" +
                std::to_string((width - size.width) / 4 * 2) + ":" + std::to_string((height - size.height) / 4 * 2);
    }
    return text;
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
