#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace worker::headers {

// The headers inside a stream's packets. A form is a number that differs if channels, sampling rate or kind of codec
// differ; none if the packet does not start with a valid header.

/// AAC in ADTS (ISO/IEC 13818-7, 6.2).
std::optional<std::uint32_t> adtsForm(std::span<const std::uint8_t> packet);

/// MPEG-1 and -2 audio of all layers (ISO/IEC 11172-3, 2.4.1.3).
std::optional<std::uint32_t> mpegAudioForm(std::span<const std::uint8_t> packet);

/// AC-3 and E-AC-3 (ETSI TS 102 366, 4.3 and E.1.2). Packets of dependent substreams have no form of their own.
std::optional<std::uint32_t> ac3Form(std::span<const std::uint8_t> packet);

/// The core of DTS (ETSI TS 102 114, 5.3).
std::optional<std::uint32_t> dtsForm(std::span<const std::uint8_t> packet);

/// Whether a video stream separates its units by start codes (ITU-T H.264 and H.265, Annex B).
bool beginsWithStartCode(std::span<const std::uint8_t> bytes);

/// The parameter sets before the first slice of HEVC with start codes (ITU-T H.265, 7.4.2.2).
std::vector<std::span<const std::uint8_t>> hevcParameterSets(std::span<const std::uint8_t> bytes);

}  // namespace worker::headers
