#include "mediaconverter/worker/FragmentGaps.h"

#include "mediaconverter/worker/BigEndian.h"
#include "mediaconverter/worker/FragmentHeader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace worker {

namespace {

constexpr std::int64_t boxHeader = 8;
constexpr std::int64_t longBoxHeader = 16;

/// No writer creates larger headers, and a damaged size is usually larger.
constexpr std::int64_t mostHeader = std::int64_t{16} << 20U;

constexpr std::size_t searchStep = std::size_t{1} << 20U;
constexpr std::size_t mostGaps = 1000;

struct Box {
    std::int64_t start = 0;
    std::int64_t size = 0;
    std::int64_t content = 0;
    std::array<char, 4> type = {};

    bool is(std::string_view name) const { return std::string_view(type.data(), type.size()) == name; }

    template<std::size_t N>
    bool isOneOf(const std::array<std::string_view, N>& names) const {
        return std::any_of(names.begin(), names.end(), [this](std::string_view name) { return is(name); });
    }
};

constexpr std::array<std::string_view, 18> topLevel = {"ftyp", "styp", "moov", "moof", "mdat", "free",
                                                       "skip", "sidx", "ssix", "mfra", "uuid", "prft",
                                                       "emsg", "meta", "wide", "pdin", "pssh", "junk"};
std::optional<Box> boxAt(const SourceReader& reader, std::int64_t position, std::int64_t limit) {
    std::array<std::uint8_t, longBoxHeader> bytes{};
    const std::size_t have = reader.peek(position, bytes.data(), bytes.size());
    if (have < static_cast<std::size_t>(boxHeader)) {
        return std::nullopt;
    }
    Box box;
    box.start = position;
    box.content = position + boxHeader;
    std::memcpy(box.type.data(), bytes.data() + 4, box.type.size());
    std::uint64_t size = bigEndian(bytes, 0, 4);
    if (size == 1 && have == bytes.size()) {
        size = bigEndian(bytes, 8, 8);
        box.content = position + longBoxHeader;
    } else if (size == 0 && box.is("mdat")) {
        size = static_cast<std::uint64_t>(limit - position);
    }
    if (size < static_cast<std::uint64_t>(box.content - position) || size > (std::uint64_t{1} << 62U)) {
        return std::nullopt;
    }
    box.size = static_cast<std::int64_t>(size);
    return box;
}

std::vector<std::uint8_t> contentOf(const SourceReader& reader, const Box& box) {
    std::vector<std::uint8_t> bytes(box.size > mostHeader ? 0 : static_cast<std::size_t>(box.size));
    bytes.resize(reader.peek(box.start, bytes.data(), bytes.size()));
    return bytes;
}

/// None if this is not, or no longer, the complete header of a fragment. Charges `budget` for what it reads, because
/// nested boxes would be read again and again.
std::optional<FragmentHeader> headerAt(const SourceReader& reader, const Box& box, std::int64_t& budget) {
    if (!box.is("moof") || box.size > mostHeader || box.size > reader.size() - box.start || box.size > budget) {
        return std::nullopt;
    }
    budget -= box.size;
    return parseFragmentHeader(contentOf(reader, box));
}

/// Where the next complete fragment starts, from `position` on.
std::optional<std::int64_t> nextFragment(const SourceReader& reader, std::int64_t position, std::int64_t& budget) {
    std::vector<std::uint8_t> block(searchStep);
    constexpr std::string_view name = "moof";
    while (position + boxHeader <= reader.size()) {
        const std::size_t have = reader.peek(position, block.data(), block.size());
        for (auto at = block.begin(), end = block.begin() + static_cast<std::ptrdiff_t>(have); at != end;) {
            at = std::search(at, end, name.begin(), name.end());
            if (at == end) {
                break;
            }
            const std::int64_t start = position + (at - block.begin()) - 4;
            const auto box = start >= 0 ? boxAt(reader, start, reader.size()) : std::nullopt;
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

    void addHeader(const Box& box, FragmentHeader header);

    /// The data after the last header.
    void addData(const Box& box);

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

    static bool fits(const Fragment& fragment, const FragmentHeader& header, const Box& data);
    void markStrayTimes(const std::vector<Part>& parts);

    std::set<std::uint32_t> tracks_;
    std::vector<Fragment> fragments_;
    std::map<std::uint32_t, std::vector<Part>> parts_;
    FragmentHeader last_;
};

void Fragments::addHeader(const Box& box, FragmentHeader header) {
    bool isOdd = false;
    for (const TrackFragment& track : header.tracks) {
        isOdd = isOdd || (!tracks_.empty() && !tracks_.contains(track.track));
        if (track.decodeTime) {
            parts_[track.track].push_back(
                {fragments_.size(), *track.decodeTime, track.duration.value_or(0), track.samples <= 1});
        }
    }
    fragments_.push_back({box.start, box.start + box.size, isOdd});
    last_ = std::move(header);
}

void Fragments::addData(const Box& box) {
    if (!fragments_.empty() && fragments_.back().end == box.start && !fits(fragments_.back(), last_, box)) {
        fragments_.back().isOdd = true;
    }
}

/// Whether the header and the data after it are consistent.
bool Fragments::fits(const Fragment& fragment, const FragmentHeader& header, const Box& data) {
    if (!header.dataSize) {
        return true;
    }
    const auto dataStart = static_cast<std::uint64_t>(data.content - fragment.start);
    for (const SampleRun& run : header.runs) {
        if (run.offset != dataStart + run.sizeBefore) {
            return false;
        }
    }
    return *header.dataSize == static_cast<std::uint64_t>(data.start + data.size - data.content) &&
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
        const auto box = boxAt(reader, position, reader.size());
        auto header = box ? headerAt(reader, *box, budget) : std::nullopt;
        if (box && box->isOneOf(topLevel) && (!box->is("moof") || header)) {
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
            position += box->size;
            continue;
        }
        const auto next = nextFragment(reader, position + 4, budget);
        if (position == 0 || (!next && !isFragmented)) {
            break;
        }
        // After the last complete fragment there may be the start of another, which would make a demuxer reject
        // everything.
        const std::int64_t end = next.value_or(reader.size());
        if (end - position >= longBoxHeader) {
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
