#pragma once

#include "mediaconverter/worker/accounting/SourceView.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace worker {

/// The four letters of a box type as the number that they form in the file.
constexpr std::uint32_t boxType(const char (&name)[5]) {
    std::uint32_t type = 0;
    for (std::size_t index = 0; index < 4; ++index) {
        type = type << 8U | static_cast<std::uint8_t>(name[index]);
    }
    return type;
}

/// A box in the file (ISO/IEC 14496-12, 4.2).
struct IsoBox {
    std::uint32_t type = 0;
    std::int64_t start = 0;
    std::int64_t content = 0;  ///< where it starts
    std::int64_t end = 0;      ///< according to its size; may be beyond the end of the file

    bool is(const char (&name)[5]) const { return type == boxType(name); }
};

/// None if the bytes cannot be a box. A box without an end of its own ends with the file.
std::optional<IsoBox> readIsoBox(SourceView& view, std::int64_t position);

/// A box in memory.
struct InnerBox {
    std::uint32_t type = 0;
    std::span<const std::uint8_t> content;
};

/// Removes the first box from `bytes`; none if the rest is not a complete box.
std::optional<InnerBox> popBox(std::span<const std::uint8_t>& bytes);

/// The content of the first child of `type`; empty if there is none.
std::span<const std::uint8_t> childOf(std::span<const std::uint8_t> bytes, std::uint32_t type);

}  // namespace worker
