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

namespace worker {

namespace {

constexpr std::int64_t boxHeader = 8;
constexpr std::int64_t longBoxHeader = 16;

/// No writer makes larger ones, and a damaged size is mostly larger.
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

/// None for what is not, or no longer, the whole header of a fragment.
std::optional<FragmentHeader> headerAt(const SourceReader& reader, const Box& box) {
    if (!box.is("moof") || box.size > mostHeader || box.size > reader.size() - box.start) {
        return std::nullopt;
    }
    return parseFragmentHeader(contentOf(reader, box));
}

/// Where the next whole fragment starts, from `position` on.
std::optional<std::int64_t> nextFragment(const SourceReader& reader, std::int64_t position) {
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
            if (box && headerAt(reader, *box)) {
                return start;
            }
            ++at;
        }
        if (have < block.size()) {
            break;
        }
        // The name may lie across the end of the block.
        position += static_cast<std::int64_t>(have - name.size());
    }
    return std::nullopt;
}

/// A fragment whose header is whole, which does not yet mean that it is true.
struct Fragment {
    Box box;
    FragmentHeader header;
    std::optional<std::uint64_t> dataSize = {};  ///< that there is behind the header

    std::uint64_t dataStart = 0;  ///< from the header's first byte

    bool isOdd = false;
};

/// True where the header and the data behind it tell the same of each other.
bool fitsItsData(const Fragment& fragment) {
    const FragmentHeader& header = fragment.header;
    if (!fragment.dataSize || !header.dataSize) {
        return true;
    }
    for (std::size_t run = 0; run < header.offsets.size(); ++run) {
        if (header.offsets[run] != fragment.dataStart + header.sizesBefore[run]) {
            return false;
        }
    }
    return *fragment.dataSize == *header.dataSize &&
           std::all_of(header.tracks.begin(), header.tracks.end(), [&](const TrackFragment& track) {
               return !track.base || *track.base == static_cast<std::uint64_t>(fragment.box.start);
           });
}

/// One track's part of a fragment.
struct Part {
    Fragment* fragment;
    TrackFragment track;

    bool startsBefore(const Part& other) const { return *track.decodeTime < *other.track.decodeTime; }

    /// By more than half of what it lasts: less is how writers round.
    bool reachesBeyondTheStartOf(const Part& other) const {
        const std::uint64_t duration = track.duration.value_or(0);
        return *track.decodeTime + duration > *other.track.decodeTime + duration / 2;
    }
};

/// Marks those that do not fit in between their neighbours.
void markStrayTimes(const std::vector<Part>& parts) {
    for (std::size_t index = 0; index < parts.size(); ++index) {
        const Part& part = parts[index];
        const Part* const before = index > 0 ? &parts[index - 1] : nullptr;
        const Part* const behind = index + 1 < parts.size() ? &parts[index + 1] : nullptr;
        const bool neighboursFit = before == nullptr || behind == nullptr || !behind->startsBefore(*before);
        const bool fits = (before == nullptr || !part.startsBefore(*before)) &&
                          (behind == nullptr || !part.reachesBeyondTheStartOf(*behind));
        part.fragment->isOdd = part.fragment->isOdd || (neighboursFit && !fits);
    }
}

/// Marks the fragments whose headers are damaged where no box shows it.
void markOdd(std::vector<Fragment>& fragments, const std::set<std::uint32_t>& tracks) {
    std::map<std::uint32_t, std::vector<Part>> parts;
    for (Fragment& fragment : fragments) {
        fragment.isOdd = !fitsItsData(fragment);
        for (const TrackFragment& track : fragment.header.tracks) {
            fragment.isOdd = fragment.isOdd || (!tracks.empty() && !tracks.contains(track.track));
            if (track.decodeTime) {
                parts[track.track].push_back({&fragment, track});
            }
        }
    }
    for (const auto& [track, its] : parts) {
        markStrayTimes(its);
    }
    // A writer with manners of its own is not damaged.
    const auto odd = std::count_if(fragments.begin(), fragments.end(), [](const Fragment& one) { return one.isOdd; });
    if (static_cast<std::size_t>(odd) * 2 >= fragments.size()) {
        for (Fragment& fragment : fragments) {
            fragment.isOdd = false;
        }
    }
}

}  // namespace

std::vector<FragmentGap> findFragmentGaps(const SourceReader& reader) {
    std::vector<FragmentGap> gaps;
    std::vector<Fragment> fragments;
    std::set<std::uint32_t> tracks;
    bool isFragmented = false;
    for (std::int64_t position = 0; position < reader.size() && gaps.size() < mostGaps;) {
        const auto box = boxAt(reader, position, reader.size());
        const auto header = box ? headerAt(reader, *box) : std::nullopt;
        if (box && box->isOneOf(topLevel) && (!box->is("moof") || header)) {
            if (header) {
                isFragmented = true;
                fragments.push_back({*box, *header});
            } else if (box->is("mdat") && !fragments.empty() &&
                       fragments.back().box.start + fragments.back().box.size == position) {
                fragments.back().dataSize = static_cast<std::uint64_t>(box->start + box->size - box->content);
                fragments.back().dataStart = static_cast<std::uint64_t>(box->content - fragments.back().box.start);
            } else if (box->is("moov")) {
                tracks = fragmentedTracks(contentOf(reader, *box));
            }
            // Where a size is damaged the walk ends up beyond the end; a whole file's last box may be cut as well.
            position += box->size;
            continue;
        }
        const auto next = nextFragment(reader, position + 4);
        if (position == 0 || (!next && !isFragmented)) {
            break;
        }
        // Behind the last whole fragment there may be the start of one, which would make a demuxer refuse it all.
        const std::int64_t end = next.value_or(reader.size());
        if (end - position >= longBoxHeader) {
            gaps.push_back({position, end});
        }
        position = end;
        isFragmented = true;
    }
    markOdd(fragments, tracks);
    for (const Fragment& fragment : fragments) {
        if (fragment.isOdd) {
            gaps.push_back({fragment.box.start, fragment.box.start + fragment.box.size});
        }
    }
    return gaps;
}

}  // namespace worker
