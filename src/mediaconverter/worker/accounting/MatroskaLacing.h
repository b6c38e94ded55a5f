#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace worker {

/// The sizes in bytes of the frames of a block with several, which follow each other at its end. `content` follows the
/// block's flags, whose bits `lacing` give its kind (RFC 9559, section 10.3). None if the sizes do not fit.
std::optional<std::vector<std::int64_t>> readLacing(std::span<const std::uint8_t> content, unsigned lacing);

}  // namespace worker
