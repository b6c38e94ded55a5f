#include "mediaconverter/job/Mp4Boxes.h"

#include "mediaconverter/ByteOrder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

namespace mediaconverter {

namespace {

constexpr int mostBoxes = 1000;

/// Reads up to `bytes.size()` bytes. Returns their number; 0 on an error.
std::size_t readAt(int descriptor, std::int64_t position, std::span<std::uint8_t> bytes) {
    ssize_t got = 0;
    do {
        got = ::pread(descriptor, bytes.data(), bytes.size(), position);
    } while (got < 0 && errno == EINTR);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

std::optional<FileBox> boxAt(int descriptor, std::int64_t position, std::int64_t end) {
    std::array<std::uint8_t, longBoxHeader> bytes{};
    const std::size_t wanted = std::min(bytes.size(), static_cast<std::size_t>(end - position));
    const std::size_t have = readAt(descriptor, position, std::span(bytes).first(wanted));
    const auto header = readBoxHeader(std::span(bytes).first(have));
    if (!header || header->size == 0 || header->size > static_cast<std::uint64_t>(end - position)) {
        return std::nullopt;
    }
    return FileBox{header->type, position, position + static_cast<std::int64_t>(header->length),
                   position + static_cast<std::int64_t>(header->size)};
}

bool isQuickTime(int descriptor, const FileBox& fileType) {
    std::array<std::uint8_t, 4> brand{};
    return readAt(descriptor, fileType.content, brand) != brand.size() || bigEndian(brand, 0, 4) == boxType("qt  ");
}

}  // namespace

std::optional<std::int64_t> walkBoxes(int descriptor, std::int64_t start, std::int64_t end,
                                      const std::function<void(const FileBox&)>& visit) {
    std::int64_t position = start;
    for (int count = 0; position < end; ++count) {
        const auto box = count < mostBoxes ? boxAt(descriptor, position, end) : std::nullopt;
        if (!box) {
            return position;
        }
        visit(*box);
        position = box->end;
    }
    return std::nullopt;
}

bool isFlatMp4(int descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0) {
        return false;
    }
    bool hasType = false;
    bool hasData = false;
    bool hasFragments = false;
    std::optional<FileBox> index;
    const auto visit = [&](const FileBox& box) {
        hasType = hasType || (box.start == 0 && box.is("ftyp") && !isQuickTime(descriptor, box));
        hasData = hasData || (box.is("mdat") && box.end > box.content);
        hasFragments = hasFragments || box.is("moof");
        index = box.is("moov") ? box : index;
    };
    if (walkBoxes(descriptor, 0, status.st_size, visit) || !hasType || !hasData || !index) {
        return false;
    }
    bool hasTrack = false;
    const auto visitPart = [&](const FileBox& box) {
        hasTrack = hasTrack || box.is("trak");
        hasFragments = hasFragments || box.is("mvex");
    };
    return !walkBoxes(descriptor, index->content, index->end, visitPart) && hasTrack && !hasFragments;
}

}  // namespace mediaconverter
