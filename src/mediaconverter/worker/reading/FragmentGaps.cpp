#include "mediaconverter/worker/reading/FragmentGaps.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/worker/reading/FragmentHeader.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace worker {

namespace {

using mediaconverter::boxType;
using mediaconverter::FileBox;
using mediaconverter::longBoxHeader;
using mediaconverter::shortBoxHeader;

/// No writer creates larger headers, and a damaged size is usually larger.
constexpr std::int64_t mostHeader = std::int64_t{16} << 20U;

constexpr std::size_t searchStep = std::size_t{1} << 20U;
constexpr std::size_t mostGaps = 1000;

constexpr std::array<std::uint32_t, 18> topLevel = {
    boxType("ftyp"), boxType("styp"), boxType("moov"), boxType("moof"), boxType("mdat"), boxType("free"),
    boxType("skip"), boxType("sidx"), boxType("ssix"), boxType("mfra"), boxType("uuid"), boxType("prft"),
    boxType("emsg"), boxType("meta"), boxType("wide"), boxType("pdin"), boxType("pssh"), boxType("junk")};

bool isTopLevel(const FileBox& box) {
    return std::find(topLevel.begin(), topLevel.end(), box.type) != topLevel.end();
}

std::int64_t sizeOf(const FileBox& box) {
    return box.end - box.start;
}

std::optional<FileBox> boxAt(const SourceReader& reader, std::int64_t position) {
    std::array<std::uint8_t, longBoxHeader> bytes{};
    const std::size_t have = reader.peek(position, bytes.data(), bytes.size());
    return mediaconverter::placeBox(std::span(bytes).first(have), position, reader.size());
}

std::vector<std::uint8_t> contentOf(const SourceReader& reader, const FileBox& box) {
    std::vector<std::uint8_t> bytes(sizeOf(box) > mostHeader ? 0 : static_cast<std::size_t>(sizeOf(box)));
    bytes.resize(reader.peek(box.start, bytes.data(), bytes.size()));
    return bytes;
}

/// None if this is not, or no longer, the complete header of a fragment. Charges `budget` for what it reads, because
/// nested boxes would be read again and again.
std::optional<FragmentHeader> headerAt(const SourceReader& reader, const FileBox& box, std::int64_t& budget) {
    if (!box.is("moof") || sizeOf(box) > mostHeader || sizeOf(box) > reader.size() - box.start ||
        sizeOf(box) > budget) {
        return std::nullopt;
    }
    budget -= sizeOf(box);
    return parseFragmentHeader(contentOf(reader, box));
}

/// Where the next complete fragment starts, from `position` on.
std::optional<std::int64_t> nextFragment(const SourceReader& reader, std::int64_t position, std::int64_t& budget) {
    std::vector<std::uint8_t> block(searchStep);
    constexpr std::string_view name = "moof";
    while (position + static_cast<std::int64_t>(shortBoxHeader) <= reader.size()) {
        const std::size_t have = reader.peek(position, block.data(), block.size());
        for (auto at = block.begin(), end = block.begin() + static_cast<std::ptrdiff_t>(have); at != end;) {
            at = std::search(at, end, name.begin(), name.end());
            if (at == end) {
                break;
            }
            const std::int64_t start = position + (at - block.begin()) - 4;
            const auto box = start >= 0 ? boxAt(reader, start) : std::nullopt;
            if (box && headerAt(reader, *box, budget)) {
                return start;
            }
            ++at;
        }
        if (have < block.size()) {
            break;
        }
        // The name may cross the end of the block.
        position += static_cast<std::int64_t>(have - name.size());
    }
    return std::nullopt;
}

/// The fragments with complete headers, whose content may still be wrong. There may be hundreds of thousands, so little
/// is stored per fragment.
class Fragments {
public:
    /// `tracks` are those that may have fragments; empty if unknown.
    void setTracks(std::set<std::uint32_t> tracks) { tracks_ = std::move(tracks); }

    void addHeader(const FileBox& box, FragmentHeader header);

    /// The data after the last header.
    void addData(const FileBox& box);

    /// The positions of headers that are damaged although their boxes are intact.
    std::vector<FragmentGap> findOdd();

private:
    struct Fragment {
        std::int64_t start;
        std::int64_t end;  ///< of the header
        bool isOdd;
    };

    /// One track's part of a fragment.
    struct Part {
        std::size_t fragment;
        std::uint64_t time;
        std::uint64_t duration;  ///< 0 if unknown
        bool isOneSample;        ///< the writer guessed its duration, because the next one had not arrived

        /// By more than half of its duration; less is due to the writer's rounding.
        bool reachesBeyondTheStartOf(const Part& other) const {
            return isOneSample ? time > other.time : time + duration > other.time + duration / 2;
        }
    };

    static bool fits(const Fragment& fragment, const FragmentHeader& header, const FileBox& data);
    void markStrayTimes(const std::vector<Part>& parts);

    std::set<std::uint32_t> tracks_;
    std::vector<Fragment> fragments_;
    std::map<std::uint32_t, std::vector<Part>> parts_;
    FragmentHeader last_;
};

void Fragments::addHeader(const FileBox& box, FragmentHeader header) {
    bool isOdd = false;
    for (const TrackFragment& track : header.tracks) {
        isOdd = isOdd || (!tracks_.empty() && !tracks_.contains(track.track));
        if (track.decodeTime) {
            parts_[track.track].push_back(
                {fragments_.size(), *track.decodeTime, track.duration.value_or(0), track.samples <= 1});
        }
    }
    fragments_.push_back({box.start, box.end, isOdd});
    last_ = std::move(header);
}

void Fragments::addData(const FileBox& box) {
    if (!fragments_.empty() && fragments_.back().end == box.start && !fits(fragments_.back(), last_, box)) {
        fragments_.back().isOdd = true;
    }
}

/// Whether the header and the data after it are consistent.
bool Fragments::fits(const Fragment& fragment, const FragmentHeader& header, const FileBox& data) {
    if (!header.dataSize) {
        return true;
    }
    const auto dataStart = static_cast<std::uint64_t>(data.content - fragment.start);
    for (const SampleRun& run : header.runs) {
        if (run.offset != dataStart + run.sizeBefore) {
            return false;
        }
    }
    return *header.dataSize == static_cast<std::uint64_t>(data.end - data.content) &&
           std::all_of(header.tracks.begin(), header.tracks.end(), [&](const TrackFragment& track) {
               return !track.base || *track.base == static_cast<std::uint64_t>(fragment.start);
           });
}

/// Marks the fragments whose times do not fit between their neighbours.
void Fragments::markStrayTimes(const std::vector<Part>& parts) {
    for (std::size_t index = 0; index < parts.size(); ++index) {
        const Part& part = parts[index];
        const Part* const before = index > 0 ? &parts[index - 1] : nullptr;
        const Part* const behind = index + 1 < parts.size() ? &parts[index + 1] : nullptr;
        const bool neighboursFit = before == nullptr || behind == nullptr || behind->time >= before->time;
        const bool fits = (before == nullptr || part.time >= before->time) &&
                          (behind == nullptr || !part.reachesBeyondTheStartOf(*behind));
        if (neighboursFit && !fits) {
            fragments_[part.fragment].isOdd = true;
        }
    }
}

std::vector<FragmentGap> Fragments::findOdd() {
    for (const auto& [track, parts] : parts_) {
        markStrayTimes(parts);
    }
    std::vector<FragmentGap> gaps;
    for (const Fragment& fragment : fragments_) {
        if (fragment.isOdd) {
            gaps.push_back({fragment.start, fragment.end});
        }
    }
    // A writer with a style of its own is not damage.
    if (gaps.size() * 2 >= fragments_.size()) {
        gaps.clear();
    }
    return gaps;
}

}  // namespace

Fragmentation findFragments(const SourceReader& reader) {
    Fragmentation found;
    std::vector<FragmentGap>& gaps = found.gaps;
    Fragments fragments;
    bool isFragmented = false;
    // Intact headers take a small part of the file.
    std::int64_t budget = 2 * reader.size() + 2 * mostHeader;
    for (std::int64_t position = 0; position < reader.size() && gaps.size() < mostGaps;) {
        const auto box = boxAt(reader, position);
        auto header = box ? headerAt(reader, *box, budget) : std::nullopt;
        if (box && isTopLevel(*box) && (!box->is("moof") || header)) {
            if (header) {
                isFragmented = true;
                found.first = std::min(found.first, box->start);
                fragments.addHeader(*box, std::move(*header));
            } else if (box->is("mdat")) {
                fragments.addData(*box);
            } else if (box->is("moov")) {
                fragments.setTracks(fragmentedTracks(contentOf(reader, *box)));
            }
            // With a damaged size the walk ends beyond the end of the file; the last box of an intact file may be cut
            // too.
            position = box->end;
            continue;
        }
        const auto next = nextFragment(reader, position + 4, budget);
        if (position == 0 || (!next && !isFragmented)) {
            break;
        }
        // After the last complete fragment there may be the start of another, which would make a demuxer reject
        // everything.
        const std::int64_t end = next.value_or(reader.size());
        if (end - position >= static_cast<std::int64_t>(longBoxHeader)) {
            gaps.push_back({position, end});
        }
        position = end;
        isFragmented = true;
    }
    const auto odd = fragments.findOdd();
    gaps.insert(gaps.end(), odd.begin(), odd.begin() + static_cast<std::ptrdiff_t>(std::min(odd.size(), mostGaps)));
    return found;
}

}  // namespace worker
