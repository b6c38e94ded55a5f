#pragma once

#include "mediaconverter/worker/proof/TrackDigest.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstdint>
#include <span>

namespace worker {

/// The bytes that the MP4 muxer stores of a packet. Of most codecs it stores the payload as it is; it replaces the
/// start codes of H.264 and HEVC by lengths (ISO/IEC 14496-15), and leaves out the units of AV1 that an MP4 must not
/// hold (AV1 Codec ISO Media File Format Binding, 2.4).
class StoredPayload {
public:
    /// `track` describes the track as it is given to the muxer.
    explicit StoredPayload(const AVCodecParameters& track);

    /// The smallest sample that is compared, in bytes: the muxer puts empty texts between others.
    int leastSize() const { return leastSize_; }

    /// Adds the bytes that are stored of `payload`; returns their number.
    std::int64_t addTo(TrackDigest& digest, std::span<const std::uint8_t> payload) const;

private:
    enum class Form { asItIs, unitsWithStartCodes, openBitstreamUnits };

    static Form formOf(const AVCodecParameters& track);

    Form form_;
    int leastSize_;
};

}  // namespace worker
