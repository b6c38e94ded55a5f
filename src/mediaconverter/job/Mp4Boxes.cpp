#include "mediaconverter/job/Mp4Boxes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace mediaconverter {

namespace {

constexpr int mostBoxes = 1000;

/// The first 32 bits are the size; if they are 1, a 64-bit size follows the type.
constexpr std::size_t shortHeader = 8;
constexpr std::size_t longHeader = 16;

std::uint64_t bigEndian(const unsigned char* bytes, std::size_t length) {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < length; ++index) {
        value = value << 8U | bytes[index];
    }
    return value;
}

bool readAt(int descriptor, std::uint64_t position, unsigned char* bytes, std::size_t length) {
    ssize_t got = 0;
    do {
        got = ::pread(descriptor, bytes, length, static_cast<off_t>(position));
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(length);
}

std::optional<Mp4Box> boxAt(int descriptor, std::uint64_t position, std::uint64_t end) {
    std::array<unsigned char, longHeader> header{};
    if (end - position < shortHeader || !readAt(descriptor, position, header.data(), shortHeader)) {
        return std::nullopt;
    }
    std::size_t length = shortHeader;
    std::uint64_t size = bigEndian(header.data(), 4);
    if (size == 1) {
        if (end - position < longHeader || !readAt(descriptor, position, header.data(), longHeader)) {
            return std::nullopt;
        }
        length = longHeader;
        size = bigEndian(header.data() + shortHeader, 8);
    }
    if (size < length || size > end - position) {
        return std::nullopt;
    }
    const std::string type(reinterpret_cast<const char*>(header.data()) + 4, 4);
    return Mp4Box{type, position, position + length, position + size};
}

}  // namespace

std::optional<std::uint64_t> walkBoxes(int descriptor, std::uint64_t start, std::uint64_t end,
                                       const std::function<void(const Mp4Box&)>& visit) {
    std::uint64_t position = start;
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
    std::optional<Mp4Box> index;
    const auto visit = [&](const Mp4Box& box) {
        std::array<unsigned char, 4> brand{};
        hasType =
            hasType || (box.start == 0 && box.type == "ftyp" && readAt(descriptor, box.content, brand.data(), 4) &&
                        std::string(brand.begin(), brand.end()) != "qt  ");
        hasData = hasData || (box.type == "mdat" && box.end > box.content);
        hasFragments = hasFragments || box.type == "moof";
        index = box.type == "moov" ? box : index;
    };
    if (walkBoxes(descriptor, 0, static_cast<std::uint64_t>(status.st_size), visit) || !hasType || !hasData || !index) {
        return false;
    }
    bool hasTrack = false;
    const auto visitPart = [&](const Mp4Box& box) {
        hasTrack = hasTrack || box.type == "trak";
        hasFragments = hasFragments || box.type == "mvex";
    };
    return !walkBoxes(descriptor, index->content, index->end, visitPart) && hasTrack && !hasFragments;
}

}  // namespace mediaconverter
