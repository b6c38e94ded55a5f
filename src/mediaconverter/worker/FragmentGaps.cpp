#include "mediaconverter/worker/FragmentGaps.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>

namespace worker {

namespace {

constexpr std::int64_t boxHeader = 8;
constexpr std::int64_t longBoxHeader = 16;

/// No writer makes larger ones, and a damaged size is mostly larger.
constexpr std::int64_t mostFragmentHeader = std::int64_t{16} << 20U;

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
constexpr std::array<std::string_view, 6> inFragment = {"mfhd", "traf", "pssh", "uuid", "free", "meta"};
constexpr std::array<std::string_view, 16> inTrack = {"tfhd", "tfdt", "trun", "sdtp", "sbgp", "sgpd", "subs", "saiz",
                                                      "saio", "senc", "uuid", "free", "meta", "udta", "tfxd", "tfrf"};

std::optional<Box> boxAt(const SourceReader& reader, std::int64_t position, std::int64_t limit) {
    std::array<std::uint8_t, longBoxHeader> bytes{};
    const std::size_t have = reader.peek(position, bytes.data(), bytes.size());
    if (have < static_cast<std::size_t>(boxHeader)) {
        return std::nullopt;
    }
    const auto number = [&bytes](std::size_t at, std::size_t width) {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < width; ++index) {
            value = value << 8U | bytes[at + index];
        }
        return value;
    };
    Box box;
    box.start = position;
    box.content = position + boxHeader;
    std::memcpy(box.type.data(), bytes.data() + 4, box.type.size());
    std::uint64_t size = number(0, 4);
    if (size == 1 && have == bytes.size()) {
        size = number(8, 8);
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

/// True where the boxes within `parent` are of the kinds given and fill it exactly.
template<std::size_t N>
bool isFilledWith(const SourceReader& reader, const Box& parent, const std::array<std::string_view, N>& names) {
    const std::int64_t end = parent.start + parent.size;
    std::int64_t position = parent.content;
    while (position < end) {
        const auto box = boxAt(reader, position, end);
        if (!box || !box->isOneOf(names) || box->size > end - position) {
            return false;
        }
        if (box->is("traf") && !isFilledWith(reader, *box, inTrack)) {
            return false;
        }
        position += box->size;
    }
    return position == end;
}

bool isWholeFragmentHeader(const SourceReader& reader, const Box& box) {
    return box.is("moof") && box.size <= mostFragmentHeader && box.size > boxHeader &&
           isFilledWith(reader, box, inFragment);
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
            if (box && isWholeFragmentHeader(reader, *box)) {
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

}  // namespace

std::vector<FragmentGap> findFragmentGaps(const SourceReader& reader) {
    std::vector<FragmentGap> gaps;
    bool isFragmented = false;
    for (std::int64_t position = 0; position < reader.size() && gaps.size() < mostGaps;) {
        const auto box = boxAt(reader, position, reader.size());
        const bool isFine = box && box->isOneOf(topLevel) && (!box->is("moof") || isWholeFragmentHeader(reader, *box));
        if (isFine) {
            isFragmented = isFragmented || box->is("moof");
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
    return gaps;
}

}  // namespace worker
