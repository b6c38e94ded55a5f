#include "mediaconverter/Boxes.h"

#include "mediaconverter/ByteOrder.h"

namespace mediaconverter {

std::optional<BoxHeader> readBoxHeader(std::span<const std::uint8_t> bytes) {
    constexpr std::uint64_t sizeFollowsType = 1;
    if (bytes.size() < shortBoxHeader) {
        return std::nullopt;
    }
    BoxHeader header = {static_cast<std::uint32_t>(bigEndian(bytes, 4, 4)), shortBoxHeader, bigEndian(bytes, 0, 4)};
    if (header.size == sizeFollowsType) {
        if (bytes.size() < longBoxHeader) {
            return std::nullopt;
        }
        header.length = longBoxHeader;
        header.size = bigEndian(bytes, 8, 8);
        // Only the short form can leave the size open.
        if (header.size == 0) {
            return std::nullopt;
        }
    }
    if (header.size != 0 && header.size < header.length) {
        return std::nullopt;
    }
    return header;
}

void appendBoxHeader(std::vector<std::uint8_t>& bytes, std::uint32_t type, std::uint64_t size) {
    const bool isLong = size > UINT32_MAX;
    appendBigEndian(bytes, 4, isLong ? 1 : size);
    appendBigEndian(bytes, 4, type);
    if (isLong) {
        appendBigEndian(bytes, 8, size);
    }
}

std::optional<FileBox> placeBox(std::span<const std::uint8_t> bytes, std::int64_t position, std::int64_t fileEnd) {
    const auto header = readBoxHeader(bytes);
    if (!header || (header->size == 0 && !header->is("mdat")) ||
        header->size > static_cast<std::uint64_t>(INT64_MAX - position)) {
        return std::nullopt;
    }
    const std::int64_t end = header->size == 0 ? fileEnd : position + static_cast<std::int64_t>(header->size);
    return FileBox{header->type, position, position + static_cast<std::int64_t>(header->length), end};
}

std::optional<MemoryBox> popBox(std::span<const std::uint8_t>& bytes) {
    const auto header = readBoxHeader(bytes);
    if (!header || header->size == 0 || header->size > bytes.size()) {
        return std::nullopt;
    }
    const auto whole = bytes.first(static_cast<std::size_t>(header->size));
    bytes = bytes.subspan(whole.size());
    return MemoryBox{header->type, whole, whole.subspan(header->length)};
}

std::optional<std::vector<MemoryBox>> boxesThatFill(std::span<const std::uint8_t> bytes) {
    std::vector<MemoryBox> boxes;
    while (const auto box = popBox(bytes)) {
        boxes.push_back(*box);
    }
    return bytes.empty() ? std::optional(std::move(boxes)) : std::nullopt;
}

std::span<const std::uint8_t> childOf(std::span<const std::uint8_t> bytes, std::uint32_t type) {
    while (const auto box = popBox(bytes)) {
        if (box->type == type) {
            return box->content;
        }
    }
    return {};
}

}  // namespace mediaconverter
