#include "mediaconverter/worker/writing/ChannelLayoutBox.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/Failure.h"

#include <array>
#include <string_view>

namespace worker {

namespace {

using mediaconverter::bigEndian;

constexpr std::size_t boxHeader = mediaconverter::shortBoxHeader;
constexpr std::size_t listHeader = 16;  // of a sample description box: includes version, flags and count

/// The path from the track box inwards.
constexpr std::array<std::string_view, 6> way = {"trak", "mdia", "minf", "stbl", "stsd", "fLaC"};

/// kAudioChannelLayoutTag_UseChannelBitmap (QuickTime File Format, channel layout atom).
constexpr std::uint32_t useBitmap = 1U << 16U;

std::size_t sizeAt(std::span<const std::uint8_t> movie, std::size_t at, std::size_t end) {
    const std::size_t size = at + boxHeader > end ? 0 : bigEndian(movie, at, 4);
    if (size < boxHeader || size > end - at) {
        throw Failure(ConversionError::containerFailed, "the index is malformed");
    }
    return size;
}

std::string_view typeAt(std::span<const std::uint8_t> movie, std::size_t at) {
    return {reinterpret_cast<const char*>(&movie[at + 4]), 4};
}

/// Positions of the boxes on the path to a FLAC description, in the box at `at`; empty if there is none.
std::vector<std::size_t> findDescription(std::span<const std::uint8_t> movie, std::size_t at) {
    std::vector<std::size_t> chain = {at};
    for (std::size_t step = 1; step < way.size(); ++step) {
        const std::size_t end = chain.back() + bigEndian(movie, chain.back(), 4);
        std::size_t inner = chain.back() + (way[step - 1] == "stsd" ? listHeader : boxHeader);
        while (inner < end && typeAt(movie, inner) != way[step]) {
            inner += sizeAt(movie, inner, end);
        }
        if (inner >= end) {
            return {};
        }
        sizeAt(movie, inner, end);
        chain.push_back(inner);
    }
    return chain;
}

std::vector<std::uint8_t> layoutBox(std::uint32_t mask) {
    constexpr std::uint32_t length = 24;
    constexpr std::uint32_t noDescriptions = 0;
    std::vector<std::uint8_t> box;
    mediaconverter::appendBoxHeader(box, mediaconverter::boxType("chan"), length);
    for (const std::uint32_t field : {0U /* version and flags */, useBitmap, mask, noDescriptions}) {
        mediaconverter::appendBigEndian(box, 4, field);
    }
    return box;
}

void grow(std::vector<std::uint8_t>& movie, std::size_t at, std::size_t by) {
    mediaconverter::putBigEndian(movie, at, 4, bigEndian(movie, at, 4) + by);
}

void addLayout(std::vector<std::uint8_t>& movie, std::size_t track, std::uint32_t mask) {
    const std::vector<std::size_t> chain = findDescription(movie, track);
    if (chain.empty()) {
        return;
    }
    const std::vector<std::uint8_t> box = layoutBox(mask);
    const std::size_t end = chain.back() + bigEndian(movie, chain.back(), 4);
    movie.insert(movie.begin() + static_cast<std::ptrdiff_t>(end), box.begin(), box.end());
    grow(movie, 0, box.size());
    for (const std::size_t start : chain) {
        grow(movie, start, box.size());
    }
}

}  // namespace

void addChannelLayouts(std::vector<std::uint8_t>& movie, std::span<const std::uint32_t> masks) {
    std::size_t track = 0;
    for (std::size_t at = boxHeader; at < movie.size() && track < masks.size(); at += sizeAt(movie, at, movie.size())) {
        sizeAt(movie, at, movie.size());
        if (typeAt(movie, at) == way.front()) {
            if (masks[track] != 0) {
                addLayout(movie, at, masks[track]);
            }
            ++track;
        }
    }
}

}  // namespace worker
