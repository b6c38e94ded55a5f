#include "mediaconverter/worker/reading/FragmentHeader.h"

#include "mediaconverter/BoxFields.h"
#include "mediaconverter/Boxes.h"
#include "mediaconverter/ByteOrder.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;
using mediaconverter::bigEndian;
using mediaconverter::boxesThatFill;
using mediaconverter::BoxFields;
using mediaconverter::boxType;
using mediaconverter::MemoryBox;
using mediaconverter::versionAndFlags;

constexpr std::array<std::uint32_t, 6> inFragment = {boxType("mfhd"), boxType("traf"), boxType("pssh"),
                                                     boxType("uuid"), boxType("free"), boxType("meta")};
constexpr std::array<std::uint32_t, 16> inTrack = {boxType("tfhd"), boxType("tfdt"), boxType("trun"), boxType("sdtp"),
                                                   boxType("sbgp"), boxType("sgpd"), boxType("subs"), boxType("saiz"),
                                                   boxType("saio"), boxType("senc"), boxType("uuid"), boxType("free"),
                                                   boxType("meta"), boxType("udta"), boxType("tfxd"), boxType("tfrf")};

template<std::size_t N>
bool areAllOf(const std::vector<MemoryBox>& boxes, const std::array<std::uint32_t, N>& types) {
    return std::all_of(boxes.begin(), boxes.end(), [&](const MemoryBox& box) {
        return std::find(types.begin(), types.end(), box.type) != types.end();
    });
}

std::uint32_t flagsOf(Bytes content) {
    return static_cast<std::uint32_t>(bigEndian(content, 1, 3));
}

void add(std::optional<std::uint64_t>& sum, std::optional<std::uint64_t> value) {
    if (sum && value) {
        *sum += *value;
    } else {
        sum.reset();
    }
}

/// Parses one `traf`.
class TrackReader {
public:
    explicit TrackReader(FragmentHeader& header) : header_(header) {}

    bool read(Bytes content) {
        const auto boxes = boxesThatFill(content);
        if (!boxes || !areAllOf(*boxes, inTrack)) {
            return false;
        }
        track_.duration = 0;
        bool hasHeader = false;
        for (const MemoryBox& box : *boxes) {
            const bool isRead = box.is("tfhd") || box.is("tfdt") || box.is("trun");
            if (isRead && box.content.size() < versionAndFlags) {
                return false;
            }
            const bool isFine = box.is("tfhd")   ? readHeader(box.content)
                                : box.is("tfdt") ? readTime(box.content)
                                : box.is("trun") ? hasHeader && readRun(box.content)
                                                 : true;
            if (!isFine) {
                return false;
            }
            hasHeader = hasHeader || box.is("tfhd");
        }
        header_.tracks.push_back(track_);
        return hasHeader;
    }

private:
    bool readHeader(Bytes content) {
        const std::uint32_t flags = flagsOf(content);
        BoxFields fields(content.subspan(versionAndFlags));
        track_.track = static_cast<std::uint32_t>(fields.next(4));
        if ((flags & 0x1U) != 0) {
            track_.base = fields.next(8);
        }
        if ((flags & 0x2U) != 0) {
            fields.next(4);  // description index
        }
        if ((flags & 0x8U) != 0) {
            usualDuration_ = fields.next(4);
        }
        if ((flags & 0x10U) != 0) {
            usualSize_ = fields.next(4);
        }
        if ((flags & 0x20U) != 0) {
            fields.next(4);  // flags of the samples
        }
        return fields.areExact();
    }

    bool readTime(Bytes content) {
        BoxFields fields(content.subspan(versionAndFlags));
        track_.decodeTime = fields.next(content[0] == 0 ? 4 : 8);
        return fields.areExact();
    }

    bool readRun(Bytes content) {
        constexpr std::uint32_t durations = 0x100;
        constexpr std::uint32_t sizes = 0x200;
        const std::uint32_t flags = flagsOf(content);
        BoxFields fields(content.subspan(versionAndFlags));
        const std::uint64_t count = fields.next(4);
        track_.samples += count;
        if ((flags & 0x1U) != 0) {
            header_.runs.push_back({fields.next(4), header_.dataSize.value_or(0)});
        }
        if ((flags & 0x4U) != 0) {
            fields.next(4);  // flags of the first sample
        }
        std::size_t width = 0;
        for (const std::uint32_t field : {durations, sizes, 0x400U, 0x800U}) {
            width += (flags & field) != 0 ? 4 : 0;
        }
        if (count * width > content.size()) {
            return false;
        }
        for (std::uint64_t sample = 0; sample < count && width > 0; ++sample) {
            std::size_t rest = width;
            if ((flags & durations) != 0) {
                add(track_.duration, fields.next(4));
                rest -= 4;
            }
            if ((flags & sizes) != 0) {
                add(header_.dataSize, fields.next(4));
                rest -= 4;
            }
            fields.next(rest);
        }
        if ((flags & durations) == 0) {
            add(track_.duration, usualDuration_ ? std::optional(*usualDuration_ * count) : std::nullopt);
        }
        if ((flags & sizes) == 0) {
            add(header_.dataSize, usualSize_ ? std::optional(*usualSize_ * count) : std::nullopt);
        }
        return fields.areExact();
    }

    FragmentHeader& header_;
    TrackFragment track_;
    std::optional<std::uint64_t> usualDuration_;
    std::optional<std::uint64_t> usualSize_;
};

}  // namespace

std::optional<FragmentHeader> parseFragmentHeader(Bytes box) {
    const auto fragment = mediaconverter::popBox(box);
    const auto boxes = fragment ? boxesThatFill(fragment->content) : std::nullopt;
    if (!boxes || boxes->empty() || !areAllOf(*boxes, inFragment)) {
        return std::nullopt;
    }
    FragmentHeader header;
    header.dataSize = 0;
    for (const MemoryBox& inner : *boxes) {
        if (inner.is("traf") && !TrackReader(header).read(inner.content)) {
            return std::nullopt;
        }
    }
    return header;
}

std::set<std::uint32_t> fragmentedTracks(Bytes box) {
    std::set<std::uint32_t> tracks;
    const auto movie = mediaconverter::popBox(box);
    Bytes extensions = movie ? mediaconverter::childOf(movie->content, boxType("mvex")) : Bytes();
    while (const auto inner = mediaconverter::popBox(extensions)) {
        if (inner->is("trex") && inner->content.size() >= versionAndFlags + 4) {
            tracks.insert(static_cast<std::uint32_t>(bigEndian(inner->content, versionAndFlags, 4)));
        }
    }
    return tracks;
}

}  // namespace worker
