#pragma once

#include "mediaconverter/worker/accounting/SourceView.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace worker {

/// The four letters of a box's type as the number that they are in the file.
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
    std::int64_t end = 0;      ///< as its size says; it may be beyond the end of the file

    bool is(const char (&name)[5]) const { return type == boxType(name); }
};

/// None where the bytes cannot be a box. One that lasts to the end of the file ends there.
std::optional<IsoBox> readIsoBox(SourceView& view, std::int64_t position);

/// A box in memory.
struct InnerBox {
    std::uint32_t type = 0;
    std::span<const std::uint8_t> content;
};

/// Takes the first box off `bytes`; none where what is left is no whole box.
std::optional<InnerBox> takeBox(std::span<const std::uint8_t>& bytes);

/// The first child of `type`; an empty one where there is none.
std::span<const std::uint8_t> childOf(std::span<const std::uint8_t> bytes, std::uint32_t type);

}  // namespace worker
