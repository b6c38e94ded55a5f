#include "mediaconverter/worker/tracks/AudioEncoding.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace worker {

namespace {

/// ISO/IEC 14496-3, table 1.18, in ascending order.
constexpr std::array aacRates = {7350,  8000,  11025, 12000, 16000, 22050, 24000,
                                 32000, 44100, 48000, 64000, 88200, 96000};

/// The layouts that decoders read from AAC exactly as they were written: those with a channel configuration (ISO/IEC
/// 14496-3, table 1.19) and those that a program configuration element describes unambiguously.
constexpr std::array<std::string_view, 12> aacLayouts = {"mono", "stereo",     "2.1", "3.0", "3.0(back)",  "4.0",
                                                         "quad", "quad(side)", "5.0", "5.1", "6.0(front)", "7.1"};

constexpr int mostFlacChannels = 8;

// RFC 9639, 9.1.2: rates that fit 16 bits in Hz, higher ones in tens of Hz.
constexpr int mostFlacRateInHz = 65535;
constexpr int mostFlacRate = 655350;
constexpr int usualHighRate = 192000;

constexpr int opusRate = 48000;

int flacRate(int rate) {
    const bool isRepresentable = rate <= mostFlacRateInHz || (rate <= mostFlacRate && rate % 10 == 0);
    return isRepresentable ? rate : usualHighRate;
}

bool isSixteenBits(AVSampleFormat format) {
    const AVSampleFormat packed = av_get_packed_sample_fmt(format);
    return packed == AV_SAMPLE_FMT_U8 || packed == AV_SAMPLE_FMT_S16;
}

}  // namespace

AudioEncoding encodingFor(const TrackForm& form, AVSampleFormat decoded) {
    if (form.channels > mostFlacChannels) {
        return {AudioEncoding::Codec::opus, "libopus", opusRate, AV_SAMPLE_FMT_FLT};
    }
    const bool hasAacLayout = std::find(aacLayouts.begin(), aacLayouts.end(), form.layout) != aacLayouts.end();
    const auto* const rate = std::find_if(aacRates.begin(), aacRates.end(), [&](int of) { return of >= form.rate; });
    if (hasAacLayout && rate != aacRates.end()) {
        return {AudioEncoding::Codec::aac, "aac", *rate, AV_SAMPLE_FMT_FLTP};
    }
    return {AudioEncoding::Codec::flac, "flac", flacRate(form.rate),
            isSixteenBits(decoded) ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_S32};
}

}  // namespace worker
