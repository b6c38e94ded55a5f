#include "mediaconverter/worker/FragmentHeader.h"

#include "mediaconverter/worker/BigEndian.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t boxHeader = 8;
constexpr std::size_t fullBoxHeader = 12;  // includes version and flags

constexpr std::array<std::string_view, 6> inFragment = {"mfhd", "traf", "pssh", "uuid", "free", "meta"};
constexpr std::array<std::string_view, 16> inTrack = {"tfhd", "tfdt", "trun", "sdtp", "sbgp", "sgpd", "subs", "saiz",
                                                      "saio", "senc", "uuid", "free", "meta", "udta", "tfxd", "tfrf"};

std::string_view typeOf(Bytes box) {
    return {reinterpret_cast<const char*>(box.data()) + 4, 4};
}

/// The boxes that fill `bytes`; none if they do not fill it exactly.
std::optional<std::vector<Bytes>> boxesIn(Bytes bytes) {
    std::vector<Bytes> boxes;
    while (!bytes.empty()) {
        const std::uint64_t size = bytes.size() < boxHeader ? 0 : bigEndian(bytes, 0, 4);
        if (size < boxHeader || size > bytes.size()) {
            return std::nullopt;
        }
        boxes.push_back(bytes.first(size));
        bytes = bytes.subspan(size);
    }
    return boxes;
}

template<std::size_t N>
bool areAllOf(const std::vector<Bytes>& boxes, const std::array<std::string_view, N>& types) {
    return std::all_of(boxes.begin(), boxes.end(),
                       [&](Bytes box) { return std::find(types.begin(), types.end(), typeOf(box)) != types.end(); });
}

/// Reads fields one after the other, and remembers whether all of them existed.
class Fields {
public:
    explicit Fields(Bytes box) : bytes_(box), at_(fullBoxHeader) {}

    std::uint64_t next(std::size_t width) {
        if (bytes_.size() - std::min(at_, bytes_.size()) < width) {
            isShort_ = true;
            return 0;
        }
        at_ += width;
        return bigEndian(bytes_, at_ - width, width);
    }

    bool areExact() const { return !isShort_ && at_ == bytes_.size(); }

private:
    Bytes bytes_;
    std::size_t at_;
    bool isShort_ = false;
};

std::uint32_t flagsOf(Bytes box) {
    return static_cast<std::uint32_t>(bigEndian(box, 9, 3));
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

    bool read(Bytes box) {
        const auto boxes = boxesIn(box.subspan(boxHeader));
        if (!boxes || !areAllOf(*boxes, inTrack)) {
            return false;
        }
        track_.duration = 0;
        bool hasHeader = false;
        for (const Bytes inner : *boxes) {
            const std::string_view type = typeOf(inner);
            if ((type == "tfhd" || type == "tfdt" || type == "trun") && inner.size() < fullBoxHeader) {
                return false;
            }
            const bool isFine = type == "tfhd"   ? readHeader(inner)
                                : type == "tfdt" ? readTime(inner)
                                : type == "trun" ? hasHeader && readRun(inner)
                                                 : true;
            if (!isFine) {
                return false;
            }
            hasHeader = hasHeader || type == "tfhd";
        }
        header_.tracks.push_back(track_);
        return hasHeader;
    }

private:
    bool readHeader(Bytes box) {
        const std::uint32_t flags = flagsOf(box);
        Fields fields(box);
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

    bool readTime(Bytes box) {
        Fields fields(box);
        track_.decodeTime = fields.next(box[8] == 0 ? 4 : 8);
        return fields.areExact();
    }

    bool readRun(Bytes box) {
        constexpr std::uint32_t durations = 0x100;
        constexpr std::uint32_t sizes = 0x200;
        const std::uint32_t flags = flagsOf(box);
        Fields fields(box);
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
        if (count * width > box.size()) {
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
    const auto boxes = boxesIn(box.subspan(std::min(boxHeader, box.size())));
    if (!boxes || boxes->empty() || !areAllOf(*boxes, inFragment)) {
        return std::nullopt;
    }
    FragmentHeader header;
    header.dataSize = 0;
    for (const Bytes inner : *boxes) {
        if (typeOf(inner) == "traf" && !TrackReader(header).read(inner)) {
            return std::nullopt;
        }
    }
    return header;
}

std::set<std::uint32_t> fragmentedTracks(Bytes box) {
    std::set<std::uint32_t> tracks;
    for (const Bytes outer : boxesIn(box.subspan(std::min(boxHeader, box.size()))).value_or(std::vector<Bytes>())) {
        if (typeOf(outer) != "mvex") {
            continue;
        }
        for (const Bytes inner : boxesIn(outer.subspan(boxHeader)).value_or(std::vector<Bytes>())) {
            if (typeOf(inner) == "trex" && inner.size() >= fullBoxHeader + 4) {
                tracks.insert(static_cast<std::uint32_t>(bigEndian(inner, fullBoxHeader, 4)));
            }
        }
    }
    return tracks;
}

}  // namespace worker
