#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace worker {

/// The movie box (`moov`) with `shift` added to every chunk offset. Offsets of 32 bits that no longer fit are turned
/// into ones of 64 bits, which makes the box longer. Throws Failure where the box is not well formed.
std::vector<std::uint8_t> withShiftedChunkOffsets(std::span<const std::uint8_t> movie, std::uint64_t shift);

/// The most that withShiftedChunkOffsets can make of the box, whatever the shift.
std::size_t largestWithShiftedChunkOffsets(std::span<const std::uint8_t> movie);

}  // namespace worker
