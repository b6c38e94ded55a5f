#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/tracks/AudioEncoding.h"
#include "mediaconverter/worker/tracks/AudioSamples.h"
#include "mediaconverter/worker/tracks/TranscodedTrack.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace worker {

namespace {

/// Bits per second and channel, 128 kb/s in stereo: voices lose nothing, and every further bit costs encoding time.
constexpr std::int64_t rateOfChannel = 64000;

/// In Hz, the upper end of what ITU-T calls super-wideband (G.722.1 Annex C), the best that conferences transmit; the
/// bands above cost a twelfth of the encoding time.
constexpr int highestFrequency = 14000;

/// Sources of 32 bits, and of floating point, have no more that could be heard.
constexpr int mostBitsOfFlac = 24;

void setLayout(AVChannelLayout& layout, const std::string& text) {
    if (av_channel_layout_from_string(&layout, text.c_str()) < 0) {
        throw Failure(ConversionError::encodingFailed, "no channels " + text);
    }
}

AVDictionary* optionsOfAac() {
    AVDictionary* options = nullptr;
    av_dict_set(&options, "aac_coder", "fast", 0);
    // These tools, which save bits at low rates, take most of the time on voices, and there are enough bits.
    for (const char* const tool : {"aac_ms", "aac_is", "aac_tns", "aac_pns"}) {
        av_dict_set(&options, tool, "0", 0);
    }
    return options;
}

AVDictionary* optionsOfOpus() {
    AVDictionary* options = nullptr;
    // Channels with numbers but no positions (RFC 7845, 5.1.1.3).
    av_dict_set(&options, "mapping_family", "255", 0);
    return options;
}

}  // namespace

TranscodedAudio::TranscodedAudio(const AVStream& source, AVStream& target, Timeline& timeline, const FormPlan& plan)
    : TranscodedTrack(source, target, timeline, plan) {
    if (plan.form.channels <= 0 || plan.form.rate <= 0) {
        throw Failure(ConversionError::codecUnknown, "audio without channels or rate");
    }
    const AudioEncoding encoding = encodingFor(plan.form, decoder().sample_fmt);
    makeEncoder(encoding.encoder);
    AVCodecContext& context = encoder();
    context.sample_rate = encoding.rate;
    context.sample_fmt = encoding.format;
    context.time_base = {1, context.sample_rate};
    isNumbered_ = encoding.codec == AudioEncoding::Codec::opus;
    if (isNumbered_) {
        context.ch_layout.nb_channels = plan.form.channels;
    } else {
        setLayout(context.ch_layout, plan.form.layout);
    }
    AVDictionary* options = nullptr;
    if (encoding.codec == AudioEncoding::Codec::aac) {
        context.cutoff = std::min(highestFrequency, context.sample_rate / 2);
        options = optionsOfAac();
    } else if (isNumbered_) {
        options = optionsOfOpus();
    } else if (encoding.format == AV_SAMPLE_FMT_S32) {
        context.bits_per_raw_sample = mostBitsOfFlac;
    }
    if (encoding.codec != AudioEncoding::Codec::flac) {
        context.bit_rate = rateOfChannel * context.ch_layout.nb_channels;
    }
    openEncoder(options);
    framer_ = std::make_unique<AudioFramer>(context);
}

bool TranscodedAudio::isAfterPause(const AVFrame& frame) {
    const std::int64_t expected = expectedTime_;
    if (frame.pts == AV_NOPTS_VALUE) {
        return false;
    }
    expectedTime_ = frame.pts + av_rescale_q(frame.nb_samples, {1, std::max(frame.sample_rate, 1)}, source().time_base);
    return expected != AV_NOPTS_VALUE &&
           av_compare_ts(frame.pts - expected, source().time_base, AudioFramer::longestSilence, {1, 1}) > 0;
}

void TranscodedAudio::inspect(AVFrame& frame) {
    if (isNumbered_) {
        const int channels = frame.ch_layout.nb_channels;
        av_channel_layout_uninit(&frame.ch_layout);
        frame.ch_layout.nb_channels = channels;
    }
    if (silenceImpossibleSamples(frame) > 0) {
        countUndecodable();
    }
    if (!hasTimes()) {
        // The library computes these from the rate and length of the first packets.
        frame.pts = nextTime_ == AV_NOPTS_VALUE ? frame.pts : nextTime_;
        nextTime_ = (frame.pts == AV_NOPTS_VALUE ? 0 : frame.pts) +
                    av_rescale_q(frame.nb_samples, {1, std::max(frame.sample_rate, 1)}, source().time_base);
    }
    witness().addDecodedAudio(frame.pts, frame.nb_samples, frame.sample_rate);
}

void TranscodedAudio::acceptFiltered(AVFrame* frame, Mp4Writer& writer) {
    if (frame != nullptr) {
        framer_->push(*frame, isFirstOfForm_);
        isFirstOfForm_ = false;
    }
    while (const FramePointer next = framer_->pop(frame == nullptr)) {
        encode(next.get(), writer);
    }
    if (frame == nullptr) {
        encode(nullptr, writer);
    }
}

std::string TranscodedAudio::filters(const AVFrame&) const {
    // Gaps in the audio are filled, or it would run ahead of the video; rounded times are left alone.
    std::string text = std::string("aresample=async=1:min_hard_comp=0.1,aformat=sample_fmts=") +
                       av_get_sample_fmt_name(encoder().sample_fmt) +
                       ":sample_rates=" + std::to_string(encoder().sample_rate);
    if (!isNumbered_) {
        text += ":channel_layouts=" + layoutText(encoder().ch_layout);
    }
    return text;
}

std::string TranscodedAudio::sourceArguments(const AVFrame& frame) const {
    const AVRational base = source().time_base;
    const std::string layout = isNumbered_ ? "channels=" + std::to_string(frame.ch_layout.nb_channels)
                                           : "channel_layout=" + layoutText(frame.ch_layout);
    std::array<char, 256> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "sample_rate=%d:sample_fmt=%d:%s:time_base=%d/%d",
                                    frame.sample_rate, frame.format, layout.c_str(), base.num, base.den));
    return text.data();
}

bool TranscodedAudio::isLike(const AVFrame& frame) const {
    return frame.sample_rate == rate_ && frame.format == format_ && layoutText(frame.ch_layout) == layout_;
}

void TranscodedAudio::remember(const AVFrame& frame) {
    rate_ = frame.sample_rate;
    format_ = frame.format;
    layout_ = layoutText(frame.ch_layout);
    isFirstOfForm_ = true;
}

}  // namespace worker
