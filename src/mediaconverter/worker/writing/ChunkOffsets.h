#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace worker {

/// The movie box (`moov`) with `shift` added to every chunk offset. 32-bit offsets that no longer fit are widened to 64
/// bits, which makes the box longer. Throws Failure if the box is malformed.
std::vector<std::uint8_t> withShiftedChunkOffsets(std::span<const std::uint8_t> movie, std::uint64_t shift);

/// The largest size that withShiftedChunkOffsets can give the box, whatever the shift.
std::size_t largestWithShiftedChunkOffsets(std::span<const std::uint8_t> movie);

}  // namespace worker
