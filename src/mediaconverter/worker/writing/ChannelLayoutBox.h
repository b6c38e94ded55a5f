#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace worker {

/// Adds a channel layout box (`chan`) to the FLAC sample descriptions in the movie box (`moov`), for layouts whose
/// speakers FLAC itself cannot name. `masks` has one number per track box, in their order, with one bit per speaker as
/// in WAVE files; 0 adds nothing. Throws Failure if the movie box is malformed.
void addChannelLayouts(std::vector<std::uint8_t>& movie, std::span<const std::uint32_t> masks);

}  // namespace worker
