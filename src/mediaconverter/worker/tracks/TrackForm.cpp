#include "mediaconverter/worker/tracks/TrackForm.h"

#include "mediaconverter/worker/FfmpegVersions.h"

#include <algorithm>
#include <array>

namespace worker {

namespace {

bool isSet(AVRational ratio) {
    return ratio.num > 0 && ratio.den > 0;
}

void setLayout(TrackForm& form, const AVChannelLayout& layout) {
    form.channels = layout.nb_channels;
    form.layout = layout.nb_channels > 0 ? layoutText(layout) : std::string();
}

}  // namespace

std::string layoutText(const AVChannelLayout& layout) {
    AVChannelLayout known = {};
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&known, layout.nb_channels);
    } else {
        av_channel_layout_copy(&known, &layout);
    }
    std::array<char, 256> text{};
    av_channel_layout_describe(&known, text.data(), text.size());
    av_channel_layout_uninit(&known);
    return text.data();
}

TrackForm TrackForm::of(const AVStream& stream) {
    const AVCodecParameters& parameters = *stream.codecpar;
    TrackForm form;
    form.width = parameters.width;
    form.height = parameters.height;
    form.mostPixels = std::int64_t{form.width} * form.height;
    form.pixelAspect = isSet(stream.sample_aspect_ratio) ? stream.sample_aspect_ratio : parameters.sample_aspect_ratio;
    const AVFieldOrder order = parameters.field_order;
    form.isInterlaced = order == AV_FIELD_TT || order == AV_FIELD_BB || order == AV_FIELD_TB || order == AV_FIELD_BT;
    form.topFieldFirst = order != AV_FIELD_BB && order != AV_FIELD_BT;
    form.rate = parameters.sample_rate;
    setLayout(form, parameters.ch_layout);
    return form;
}

TrackForm TrackForm::of(const AVFrame& frame) {
    TrackForm form;
    form.width = frame.width;
    form.height = frame.height;
    form.mostPixels = std::int64_t{form.width} * form.height;
    form.pixelAspect = frame.sample_aspect_ratio;
    form.isInterlaced = ffmpeg::isInterlaced(frame);
    form.topFieldFirst = ffmpeg::isTopFieldFirst(frame);
    form.rate = frame.sample_rate;
    setLayout(form, frame.ch_layout);
    return form;
}

bool TrackForm::holds(const AVFrame& frame) const {
    return frame.width <= width && frame.height <= height && (isInterlaced || !ffmpeg::isInterlaced(frame)) &&
           frame.sample_rate <= rate && frame.ch_layout.nb_channels <= channels;
}

void TrackForm::widen(const AVFrame& frame) {
    widen(of(frame));
}

void TrackForm::widen(const TrackForm& other) {
    width = std::max(width, other.width);
    height = std::max(height, other.height);
    if (other.mostPixels > mostPixels) {
        mostPixels = other.mostPixels;
        pixelAspect = isSet(other.pixelAspect) ? other.pixelAspect : pixelAspect;
    }
    if (other.isInterlaced && !isInterlaced) {
        isInterlaced = true;
        topFieldFirst = other.topFieldFirst;
    }
    rate = std::max(rate, other.rate);
    if (other.channels > channels) {
        channels = other.channels;
        layout = other.layout;
    }
}

}  // namespace worker
