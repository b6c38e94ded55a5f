#include "mediaconverter/worker/accounting/Mp4Samples.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/ByteOrder.h"

#include <algorithm>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;
using mediaconverter::bigEndian;
using mediaconverter::boxType;
using mediaconverter::childOf;
using mediaconverter::popBox;

/// A table in a full box: the numbers after version, flags and a count, as many as both exist and are announced.
class Table {
public:
    Table(Bytes box, std::size_t countAt, std::size_t width) : width_(width) {
        if (box.size() >= countAt + 4) {
            bytes_ = box.subspan(countAt + 4);
            announced_ = bigEndian(box, countAt, 4);
        }
    }

    std::size_t size() const {
        return static_cast<std::size_t>(std::min<std::uint64_t>(announced_, bytes_.size() / width_));
    }
    bool isWhole() const { return size() == announced_; }
    std::uint64_t field(std::size_t row, std::size_t offset, std::size_t width) const {
        return bigEndian(bytes_, row * width_ + offset, width);
    }

private:
    std::size_t width_;
    Bytes bytes_;
    std::uint64_t announced_ = 0;
};

/// The sizes of a track's samples: `stsz` or `stz2` (8.7.3).
class SampleSizes {
public:
    explicit SampleSizes(Bytes sampleTable) {
        const Bytes wide = childOf(sampleTable, boxType("stsz"));
        const Bytes compact = childOf(sampleTable, boxType("stz2"));
        if (wide.size() >= 12) {
            fixed_ = bigEndian(wide, 4, 4);
            count_ = bigEndian(wide, 8, 4);
            bytes_ = wide.subspan(12);
            bits_ = 32;
        } else if (compact.size() >= 12) {
            count_ = bigEndian(compact, 8, 4);
            bytes_ = compact.subspan(12);
            bits_ = compact[7];
        }
        const bool isKnown = bits_ == 4 || bits_ == 8 || bits_ == 16 || bits_ == 32;
        isWhole_ = fixed_ != 0 || count_ == 0 || (isKnown && bytes_.size() >= (count_ * bits_ + 7) / 8);
    }

    bool isWhole() const { return isWhole_; }
    std::uint64_t count() const { return count_; }
    std::uint64_t fixed() const { return fixed_; }
    std::uint64_t at(std::uint64_t index) const {
        if (bits_ == 4) {
            const unsigned both = bytes_[static_cast<std::size_t>(index / 2)];
            return index % 2 == 0 ? both >> 4U : both & 0x0FU;
        }
        return bigEndian(bytes_, static_cast<std::size_t>(index) * bits_ / 8, bits_ / 8);
    }

private:
    std::uint64_t fixed_ = 0;
    std::uint64_t count_ = 0;
    std::size_t bits_ = 0;
    Bytes bytes_;
    bool isWhole_ = false;
};

/// The chunks of one track, each with its samples (8.7.4, 8.7.5).
class ChunkWalk {
public:
    ChunkWalk(std::uint32_t track, Bytes sampleTable, const Mp4SampleVisitor& visit)
        : track_(track), visit_(visit), sizes_(sampleTable), runs_(childOf(sampleTable, boxType("stsc")), 4, 12) {
        const Bytes wide = childOf(sampleTable, boxType("co64"));
        offsetWidth_ = wide.empty() ? 4 : 8;
        offsets_ = Table(wide.empty() ? childOf(sampleTable, boxType("stco")) : wide, 4, offsetWidth_);
    }

    bool run() {
        if (!sizes_.isWhole() || !runs_.isWhole() || !offsets_.isWhole()) {
            return false;
        }
        std::size_t row = 0;
        for (std::size_t chunk = 0; chunk < offsets_.size() && sample_ < sizes_.count(); ++chunk) {
            while (row + 1 < runs_.size() && runs_.field(row + 1, 0, 4) <= chunk + 1) {
                ++row;
            }
            if (runs_.size() == 0) {
                return false;
            }
            visitChunk(offsets_.field(chunk, 0, offsetWidth_), runs_.field(row, 4, 4));
        }
        return sample_ == sizes_.count();
    }

private:
    void visitChunk(std::uint64_t position, std::uint64_t samples) {
        samples = std::min(samples, sizes_.count() - sample_);
        if (sizes_.fixed() != 0) {
            visitOne(position, sizes_.fixed() * samples);
            sample_ += samples;
            return;
        }
        for (const std::uint64_t end = sample_ + samples; sample_ < end; ++sample_) {
            const std::uint64_t size = sizes_.at(sample_);
            visitOne(position, size);
            position += size;
        }
    }

    void visitOne(std::uint64_t position, std::uint64_t size) {
        constexpr std::uint64_t most = std::uint64_t{1} << 62U;
        visit_({track_, static_cast<std::int64_t>(std::min(position, most)), static_cast<std::int64_t>(size)});
    }

    std::uint32_t track_;
    const Mp4SampleVisitor& visit_;
    SampleSizes sizes_;
    Table runs_;
    Table offsets_{{}, 0, 4};
    std::size_t offsetWidth_ = 4;
    std::uint64_t sample_ = 0;
};

std::uint32_t trackId(Bytes trak) {
    const Bytes header = childOf(trak, boxType("tkhd"));
    const std::size_t at = !header.empty() && header[0] == 1 ? 20 : 12;
    return header.size() < at + 4 ? 0 : static_cast<std::uint32_t>(bigEndian(header, at, 4));
}

}  // namespace

std::vector<Mp4Track> readMp4Tracks(Bytes moov) {
    std::vector<Mp4Track> tracks;
    std::map<std::uint32_t, std::uint32_t> usualSizes;
    for (Bytes rest = moov; const auto box = popBox(rest);) {
        if (box->type == boxType("trak")) {
            tracks.push_back(
                {trackId(box->content), !childOf(childOf(box->content, boxType("edts")), boxType("elst")).empty(), 0});
        } else if (box->type == boxType("mvex")) {
            for (Bytes inner = box->content; const auto extends = popBox(inner);) {
                if (extends->type == boxType("trex") && extends->content.size() >= 24) {
                    usualSizes[static_cast<std::uint32_t>(bigEndian(extends->content, 4, 4))] =
                        static_cast<std::uint32_t>(bigEndian(extends->content, 16, 4));
                }
            }
        }
    }
    for (Mp4Track& track : tracks) {
        track.usualSize = usualSizes[track.id];
    }
    return tracks;
}

bool visitMp4Samples(Bytes moov, const Mp4SampleVisitor& visit) {
    bool isSound = true;
    while (const auto box = popBox(moov)) {
        if (box->type == boxType("trak")) {
            const Bytes media = childOf(childOf(box->content, boxType("mdia")), boxType("minf"));
            isSound = ChunkWalk(trackId(box->content), childOf(media, boxType("stbl")), visit).run() && isSound;
        }
    }
    return isSound;
}

}  // namespace worker
