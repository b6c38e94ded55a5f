#pragma once

extern "C" {
#include <libavcodec/codec_par.h>
}

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace worker {

/// Watches the form (channels, rate, parameter sets) that the packets of a copied stream announce, because an MP4
/// stores it once for the whole track: AAC with ADTS headers, MPEG audio, AC-3, E-AC-3, DTS, and HEVC with start codes.
class FormWatch {
public:
    enum class Verdict {
        same,     ///< as before, or a stream whose packets do not announce it
        damaged,  ///< an invalid header, or a single packet that differs from those before it
        changed,  ///< the stream continues in another form
    };

    explicit FormWatch(const AVCodecParameters& stream);

    /// The stream's next packet.
    Verdict look(std::span<const std::uint8_t> packet);

private:
    using Bytes = std::vector<std::uint8_t>;

    Verdict compare(std::optional<std::uint32_t> form);
    bool knowsParameterSets(std::span<const std::uint8_t> packet) const;

    AVCodecID codec_;
    bool hasAdts_;
    bool hasStartCodes_;
    std::optional<std::uint32_t> form_;
    std::optional<std::uint32_t> suspect_;  ///< of the packet before, if it differed from form_
    std::vector<Bytes> parameterSets_;
};

}  // namespace worker
