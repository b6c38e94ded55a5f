#include "mediaconverter/worker/accounting/IsoBox.h"

#include "mediaconverter/worker/BigEndian.h"

#include <algorithm>

namespace worker {

namespace {

constexpr std::int64_t shortHeader = 8;
constexpr std::int64_t longHeader = 16;

bool isPrintable(std::uint32_t type) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const unsigned byte = type >> shift & 0xFFU;
        // 0xA9 starts the names of QuickTime's text boxes.
        if ((byte < 0x20 || byte > 0x7E) && byte != 0xA9) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::optional<IsoBox> readIsoBox(SourceView& view, std::int64_t position) {
    const auto bytes = view.at(position, longHeader);
    if (bytes.size() < static_cast<std::size_t>(shortHeader)) {
        return std::nullopt;
    }
    IsoBox box;
    box.start = position;
    box.content = position + shortHeader;
    box.type = static_cast<std::uint32_t>(bigEndian(bytes, 4, 4));
    std::uint64_t size = bigEndian(bytes, 0, 4);
    if (size == 1 && bytes.size() == static_cast<std::size_t>(longHeader)) {
        size = bigEndian(bytes, 8, 8);
        box.content = position + longHeader;
    } else if (size == 0 && box.is("mdat")) {
        size = static_cast<std::uint64_t>(view.size() - position);
    }
    if (!isPrintable(box.type) || size < static_cast<std::uint64_t>(box.content - position) ||
        size > static_cast<std::uint64_t>(INT64_MAX - position)) {
        return std::nullopt;
    }
    box.end = position + static_cast<std::int64_t>(size);
    return box;
}

std::optional<InnerBox> popBox(std::span<const std::uint8_t>& bytes) {
    std::size_t header = 8;
    if (bytes.size() < header) {
        return std::nullopt;
    }
    std::uint64_t size = bigEndian(bytes, 0, 4);
    if (size == 1 && bytes.size() >= 16) {
        size = bigEndian(bytes, 8, 8);
        header = 16;
    }
    if (size < header || size > bytes.size()) {
        return std::nullopt;
    }
    const InnerBox box = {static_cast<std::uint32_t>(bigEndian(bytes, 4, 4)),
                          bytes.subspan(header, static_cast<std::size_t>(size) - header)};
    bytes = bytes.subspan(static_cast<std::size_t>(size));
    return box;
}

std::span<const std::uint8_t> childOf(std::span<const std::uint8_t> bytes, std::uint32_t type) {
    while (const auto box = popBox(bytes)) {
        if (box->type == type) {
            return box->content;
        }
    }
    return {};
}

}  // namespace worker
