#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace worker {

/// An element in the content of another.
struct EbmlChild {
    std::uint32_t id = 0;                   ///< as the standards write it
    std::span<const std::uint8_t> content;  ///< of the bytes given
    std::int64_t position = 0;              ///< of the content, in the file
};

/// The elements that fill `bytes` exactly; `position` is that of the bytes in the file. Throws Irregularity if they do
/// not, or if one is of unknown size.
std::vector<EbmlChild> ebmlChildren(std::span<const std::uint8_t> bytes, std::int64_t position);

/// The number that the element holds (RFC 8794, 7.2); 0 if it is empty. Throws Irregularity if it is longer than eight
/// bytes.
std::uint64_t numberIn(const EbmlChild& child);

/// Like numberIn(), with a sign (7.1).
std::int64_t signedNumberIn(const EbmlChild& child);

}  // namespace worker
