#include "mediaconverter/worker/AudioSamples.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/FfmpegVersions.h"
#include "mediaconverter/worker/TranscodedTrack.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace worker {

namespace {

/// Bits a second and channel, 128 kb/s in stereo: voices lose nothing, and every bit more costs the coder time.
constexpr std::int64_t rateOfChannel = 64000;

/// In Hz, the upper end of what ITU-T calls super-wideband (G.722.1 Annex C), the best that conferences carry; the
/// bands above cost the coder a twelfth of its time.
constexpr int highestFrequency = 14000;

/// The rate that the coder has and that comes next to the source's.
int nearestRate(const AVCodec& codec, int wanted) {
    int best = 48000;
    for (const int rate : ffmpeg::sampleRatesOf(codec)) {
        if (std::abs(rate - wanted) < std::abs(best - wanted)) {
            best = rate;
        }
    }
    return best;
}

void setLayout(AVChannelLayout& layout, const std::string& text) {
    if (av_channel_layout_from_string(&layout, text.c_str()) < 0) {
        throw Failure(ConversionError::encodingFailed, "no channels " + text);
    }
}

}  // namespace

TranscodedAudio::TranscodedAudio(const AVStream& source, AVStream& target, Timeline& timeline, const FormPlan& plan)
    : TranscodedTrack(source, target, timeline, plan) {
    makeEncoder("aac");
    AVCodecContext& aac = encoder();
    if (plan.form.channels <= 0 || plan.form.rate <= 0) {
        throw Failure(ConversionError::codecUnknown, "sound without channels or rate");
    }
    setLayout(aac.ch_layout, plan.form.layout);
    aac.sample_rate = nearestRate(*aac.codec, plan.form.rate);
    aac.sample_fmt = AV_SAMPLE_FMT_FLTP;
    aac.bit_rate = rateOfChannel * aac.ch_layout.nb_channels;
    aac.cutoff = std::min(highestFrequency, aac.sample_rate / 2);
    aac.time_base = {1, aac.sample_rate};
    AVDictionary* options = nullptr;
    av_dict_set(&options, "aac_coder", "fast", 0);
    // What saves bits at low rates takes most of the time on voices, and there are bits enough.
    for (const char* const tool : {"aac_ms", "aac_is", "aac_tns", "aac_pns"}) {
        av_dict_set(&options, tool, "0", 0);
    }
    openEncoder(options);
    framer_ = std::make_unique<AudioFramer>(encoder());
}

void TranscodedAudio::inspect(AVFrame& frame) {
    if (silenceImpossibleSamples(frame) > 0) {
        countUndecodable();
    }
    if (hasTimes()) {
        return;
    }
    // The library counts these by the rate and length of the first packets.
    frame.pts = nextTime_ == AV_NOPTS_VALUE ? frame.pts : nextTime_;
    nextTime_ = (frame.pts == AV_NOPTS_VALUE ? 0 : frame.pts) +
                av_rescale_q(frame.nb_samples, {1, std::max(frame.sample_rate, 1)}, source().time_base);
}

void TranscodedAudio::takeFiltered(AVFrame* frame, Mp4Writer& writer) {
    if (frame != nullptr) {
        framer_->push(*frame);
    }
    while (const FramePointer next = framer_->pop(frame == nullptr)) {
        encode(next.get(), writer);
    }
    if (frame == nullptr) {
        encode(nullptr, writer);
    }
}

std::string TranscodedAudio::filters(const AVFrame&) const {
    // Sound that has gaps is filled up, else it would run ahead of the picture; rounded times are not touched.
    return "aresample=async=1:min_hard_comp=0.1,aformat=sample_fmts=fltp:sample_rates=" +
           std::to_string(encoder().sample_rate) + ":channel_layouts=" + layoutText(encoder().ch_layout);
}

std::string TranscodedAudio::sourceArguments(const AVFrame& frame) const {
    const AVRational base = source().time_base;
    std::array<char, 256> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(),
                                    "sample_rate=%d:sample_fmt=%d:channel_layout=%s:time_base=%d/%d", frame.sample_rate,
                                    frame.format, layoutText(frame.ch_layout).c_str(), base.num, base.den));
    return text.data();
}

bool TranscodedAudio::isLike(const AVFrame& frame) const {
    return frame.sample_rate == rate_ && frame.format == format_ && layoutText(frame.ch_layout) == layout_;
}

void TranscodedAudio::remember(const AVFrame& frame) {
    rate_ = frame.sample_rate;
    format_ = frame.format;
    layout_ = layoutText(frame.ch_layout);
}

}  // namespace worker
