#include "mediaconverter/worker/tracks/FormWatch.h"

#include "mediaconverter/worker/tracks/StreamHeaders.h"

#include <algorithm>

namespace worker {

FormWatch::FormWatch(const AVCodecParameters& stream)
    : codec_(stream.codec_id),
      hasAdts_(stream.codec_id == AV_CODEC_ID_AAC && stream.extradata_size == 0),
      hasStartCodes_(false) {
    const std::span<const std::uint8_t> header(stream.extradata, static_cast<std::size_t>(stream.extradata_size));
    if (codec_ == AV_CODEC_ID_HEVC && headers::beginsWithStartCode(header)) {
        hasStartCodes_ = true;
        for (const auto set : headers::hevcParameterSets(header)) {
            parameterSets_.emplace_back(set.begin(), set.end());
        }
    }
}

FormWatch::Verdict FormWatch::look(std::span<const std::uint8_t> packet) {
    switch (codec_) {
    case AV_CODEC_ID_AAC: {
        if (!hasAdts_) {
            return Verdict::same;
        }
        const auto form = headers::adtsForm(packet);
        return form ? compare(form) : Verdict::damaged;
    }
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP3:
        return compare(headers::mpegAudioForm(packet));
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
        return compare(headers::ac3Form(packet));
    case AV_CODEC_ID_DTS:
        return compare(headers::dtsForm(packet));
    case AV_CODEC_ID_HEVC:
        return !hasStartCodes_ || knowsParameterSets(packet) ? Verdict::same : Verdict::changed;
    default:
        return Verdict::same;
    }
}

FormWatch::Verdict FormWatch::compare(std::optional<std::uint32_t> form) {
    if (!form) {
        return Verdict::same;
    }
    if (!form_ || *form == *form_) {
        form_ = form;
        suspect_.reset();
        return Verdict::same;
    }
    // A single packet is a flipped bit in its header; two that agree are a change.
    const bool isConfirmed = suspect_ == form;
    suspect_ = form;
    return isConfirmed ? Verdict::changed : Verdict::damaged;
}

bool FormWatch::knowsParameterSets(std::span<const std::uint8_t> packet) const {
    const auto sets = headers::hevcParameterSets(packet);
    return std::all_of(sets.begin(), sets.end(), [this](std::span<const std::uint8_t> set) {
        return std::any_of(parameterSets_.begin(), parameterSets_.end(),
                           [set](const Bytes& known) { return std::ranges::equal(known, set); });
    });
}

}  // namespace worker
