#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace worker {

/// A number of variable width (RFC 8794, section 4).
struct EbmlNumber {
    std::uint64_t value = 0;  ///< without the marker
    std::size_t width = 0;
    bool isUnknown = false;  ///< all bits are 1
};

/// The header of an element.
struct EbmlHeader {
    std::uint32_t id = 0;  ///< including the marker, as the standards write it
    std::uint64_t size = 0;
    std::size_t width = 0;  ///< of the header
    bool isUnknownSize = false;
};

std::optional<EbmlNumber> readEbmlNumber(std::span<const std::uint8_t> bytes);
std::optional<EbmlHeader> readEbmlHeader(std::span<const std::uint8_t> bytes);

/// The longest header.
inline constexpr std::size_t mostEbmlHeader = 12;

}  // namespace worker
