#include "mediaconverter/worker/reading/FlvTags.h"

#include "mediaconverter/ByteOrder.h"

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace worker {

namespace {

using mediaconverter::bigEndian;

// A tag has a header of eleven bytes (kind, size of the content, time, stream), the content, and the total size again
// (Adobe Flash Video File Format Specification 10.1, annex E.4).
constexpr std::int64_t tagHeader = 11;
constexpr std::int64_t sizeBehind = 4;
constexpr std::size_t tagBeginning = tagHeader + 2;  // with the bytes that say what the content is
constexpr std::size_t searchStep = std::size_t{1} << 20U;

constexpr std::uint8_t soundKind = 8;
constexpr std::uint8_t pictureKind = 9;
constexpr std::uint8_t dataKind = 18;

struct Tag {
    std::int64_t end = 0;
    bool hasContent = false;  ///< audio or video, and not only data that a decoder needs first
};

/// `bytes` are its first ones.
bool isOnlyForTheDecoder(std::span<const std::uint8_t, tagBeginning> bytes) {
    constexpr unsigned aac = 10;
    constexpr unsigned command = 5;
    const unsigned kind = bytes[tagHeader] >> 4U;
    // For the usual codecs the second byte says it; 1 means content.
    const bool isTold = bytes[0] == soundKind ? kind == aac : true;
    return (isTold && bytes[tagHeader + 1] != 1) || (bytes[0] == pictureKind && kind == command);
}

/// `bytes` are those at `position`.
std::optional<Tag> tagAt(const SourceReader& reader, std::int64_t position,
                         std::span<const std::uint8_t, tagBeginning> bytes) {
    const auto size = static_cast<std::int64_t>(bigEndian(bytes, 1, 3));
    const std::int64_t end = position + tagHeader + size + sizeBehind;
    const bool isContent = bytes[0] == soundKind || bytes[0] == pictureKind;
    if ((!isContent && bytes[0] != dataKind) || bigEndian(bytes, 8, 3) != 0 || end > reader.size()) {
        return std::nullopt;
    }
    std::array<std::uint8_t, sizeBehind> behind{};
    if (reader.peek(end - sizeBehind, behind.data(), behind.size()) != behind.size() ||
        static_cast<std::int64_t>(bigEndian(behind, 0, sizeBehind)) != tagHeader + size) {
        return std::nullopt;
    }
    return Tag{end, isContent && !isOnlyForTheDecoder(bytes)};
}

std::optional<Tag> tagAt(const SourceReader& reader, std::int64_t position) {
    std::array<std::uint8_t, tagBeginning> bytes{};
    if (reader.peek(position, bytes.data(), bytes.size()) != bytes.size()) {
        return std::nullopt;
    }
    return tagAt(reader, position, bytes);
}

}  // namespace

std::optional<std::int64_t> nextFlvContent(const SourceReader& reader, std::int64_t position) {
    std::vector<std::uint8_t> block(searchStep);
    while (true) {
        const std::size_t have = reader.peek(position, block.data(), block.size());
        if (have < tagBeginning) {
            return std::nullopt;
        }
        const std::size_t last = have - tagBeginning;
        for (std::size_t at = 0; at <= last; ++at) {
            const auto tag = tagAt(reader, position + static_cast<std::int64_t>(at),
                                   std::span(block).subspan(at).first<tagBeginning>());
            if (tag && tag->hasContent) {
                return position + static_cast<std::int64_t>(at);
            }
        }
        position += static_cast<std::int64_t>(last) + 1;
    }
}

bool isFlvContentBetween(const SourceReader& reader, std::int64_t tag, std::int64_t next) {
    const auto first = tagAt(reader, tag);
    std::int64_t position = first ? first->end : next + 1;
    while (position < next) {
        const auto between = tagAt(reader, position);
        if (!between || between->hasContent) {
            return true;
        }
        position = between->end;
    }
    return position != next;
}

}  // namespace worker
