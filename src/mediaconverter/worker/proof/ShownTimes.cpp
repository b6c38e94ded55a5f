#include "mediaconverter/worker/proof/ShownTimes.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/Failure.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace worker {

namespace {

using Bytes = std::span<const std::uint8_t>;
using mediaconverter::boxType;
using mediaconverter::MemoryBox;

constexpr std::int64_t microseconds = 1'000'000;

[[noreturn]] void malformed() {
    throw Failure(ConversionError::proofFailed, "the index is malformed");
}

std::uint64_t read(Bytes bytes, std::size_t at, std::size_t width) {
    if (at > bytes.size() || bytes.size() - at < width) {
        malformed();
    }
    return mediaconverter::bigEndian(bytes, at, width);
}

std::int64_t readSigned32(Bytes bytes, std::size_t at) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(read(bytes, at, 4)));
}

/// Visits the consecutive boxes in `bytes`.
template<typename Visitor>
void forEachBox(Bytes bytes, Visitor&& visit) {
    while (!bytes.empty()) {
        const auto box = mediaconverter::popBox(bytes);
        if (!box) {
            malformed();
        }
        visit(*box);
    }
}

/// The content of the first box of that type among `boxes`; empty if there is none.
Bytes contentOf(Bytes boxes, std::uint32_t type) {
    Bytes found;
    forEachBox(boxes, [&](const MemoryBox& box) { found = found.empty() && box.type == type ? box.content : found; });
    return found;
}

Bytes contentOf(Bytes boxes, std::uint32_t outer, std::uint32_t inner) {
    return contentOf(contentOf(boxes, outer), inner);
}

/// The time scale in a movie or media header: ticks per second.
std::int64_t timeScaleOf(Bytes header) {
    const bool isLong = read(header, 0, 1) == 1;
    const auto scale = static_cast<std::int64_t>(read(header, isLong ? 20 : 12, 4));
    if (scale == 0) {
        malformed();
    }
    return scale;
}

/// Avoids an overflow of the product: hours at an audio clock are many ticks.
std::int64_t toMicroseconds(std::int64_t ticks, std::int64_t scale) {
    const std::int64_t rest = ticks % scale;
    return ticks / scale * microseconds + rest * microseconds / scale;
}

/// A table of runs (`stts`, `ctts`), each of which assigns one value to several samples.
class Runs {
public:
    explicit Runs(Bytes content) : content_(content), left_(content.empty() ? 0 : read(content, 4, 4)) {}

    bool next() {
        while (inRun_ == 0) {
            if (left_ == 0) {
                return false;
            }
            inRun_ = read(content_, at_, 4);
            valueAt_ = at_ + 4;
            at_ += 8;
            --left_;
        }
        --inRun_;
        return true;
    }

    std::size_t valueAt() const { return valueAt_; }

private:
    Bytes content_;
    std::uint64_t left_;
    std::uint64_t inRun_ = 0;
    std::size_t at_ = 8;
    std::size_t valueAt_ = 0;
};

/// A range of the medium and its place in the presentation; in microseconds.
struct Edit {
    std::int64_t mediaStart;
    std::int64_t mediaEnd;
    std::int64_t place;
};

class TrackReader {
public:
    TrackReader(Bytes track, std::int64_t movieScale);

    ShownTimes shown() const;

private:
    void readEdits(std::int64_t movieScale);
    bool isEmptyText(std::size_t sample) const;
    void show(ShownTimes& shown, std::int64_t start, std::int64_t duration) const;

    Bytes track_;
    Bytes sampleTables_;
    Bytes sizes_;
    std::int64_t scale_;
    std::string_view kind_;
    std::vector<Edit> edits_;
};

TrackReader::TrackReader(Bytes track, std::int64_t movieScale)
    : track_(track), scale_(timeScaleOf(contentOf(track, boxType("mdia"), boxType("mdhd")))) {
    const Bytes media = contentOf(track, boxType("mdia"));
    const Bytes handler = contentOf(media, boxType("hdlr"));
    static_cast<void>(read(handler, 8, 4));
    kind_ = {reinterpret_cast<const char*>(handler.data()) + 8, 4};
    sampleTables_ = contentOf(media, boxType("minf"), boxType("stbl"));
    sizes_ = contentOf(sampleTables_, boxType("stsz"));
    readEdits(movieScale);
}

void TrackReader::readEdits(std::int64_t movieScale) {
    const Bytes list = contentOf(track_, boxType("edts"), boxType("elst"));
    if (list.empty()) {
        edits_.push_back({0, std::numeric_limits<std::int64_t>::max(), 0});
        return;
    }
    const bool isLong = read(list, 0, 1) == 1;
    const std::size_t width = isLong ? 8 : 4;
    const std::uint64_t count = read(list, 4, 4);
    std::int64_t place = 0;
    for (std::uint64_t index = 0; index < count; ++index) {
        const std::size_t at = 8 + index * (2 * width + 4);
        const std::int64_t length = toMicroseconds(static_cast<std::int64_t>(read(list, at, width)), movieScale);
        const std::int64_t start =
            isLong ? static_cast<std::int64_t>(read(list, at + width, width)) : readSigned32(list, at + width);
        if (start >= 0) {
            const std::int64_t mediaStart = toMicroseconds(start, scale_);
            edits_.push_back({mediaStart, mediaStart + length, place});
        }
        place += length;
    }
}

bool TrackReader::isEmptyText(std::size_t sample) const {
    // A text sample starts with the number of its bytes (3GPP TS 26.245, 5.17).
    constexpr std::uint64_t emptyText = 2;
    if (kind_ != "text" && kind_ != "sbtl") {
        return false;
    }
    const std::uint64_t common = read(sizes_, 4, 4);
    return (common != 0 ? common : read(sizes_, 12 + 4 * sample, 4)) <= emptyText;
}

void TrackReader::show(ShownTimes& shown, std::int64_t start, std::int64_t duration) const {
    for (const Edit& edit : edits_) {
        // A frame is shown if its start is; of audio any part can be heard.
        const bool isWhole = start >= edit.mediaStart && start < edit.mediaEnd;
        const bool isPart = kind_ == "soun" && start < edit.mediaEnd && start + duration > edit.mediaStart;
        if (isWhole || isPart) {
            const std::int64_t from = std::max(start, edit.mediaStart);
            const std::int64_t to = std::min(start + duration, edit.mediaEnd);
            shown.add(edit.place + from - edit.mediaStart, to - from);
            return;
        }
    }
}

ShownTimes TrackReader::shown() const {
    ShownTimes shown;
    const Bytes durations = contentOf(sampleTables_, boxType("stts"));
    const Bytes offsets = contentOf(sampleTables_, boxType("ctts"));
    Runs duration(durations);
    Runs offset(offsets);
    std::int64_t decodingTime = 0;
    for (std::size_t sample = 0; duration.next(); ++sample) {
        const auto ticks = static_cast<std::int64_t>(read(durations, duration.valueAt(), 4));
        const std::int64_t delay = offset.next() ? readSigned32(offsets, offset.valueAt()) : 0;
        if (!isEmptyText(sample)) {
            shown.delays.add(delay);
            const std::int64_t start = toMicroseconds(decodingTime + delay, scale_);
            show(shown, start, toMicroseconds(decodingTime + delay + ticks, scale_) - start);
        }
        decodingTime += ticks;
    }
    return shown;
}

/// The content of the movie box. Media data may be larger than memory, so the boxes are read from the file.
std::vector<std::uint8_t> readMovie(const SourceReader& file) {
    for (std::int64_t at = 0; at < file.size();) {
        std::array<std::uint8_t, mediaconverter::longBoxHeader> header{};
        const std::size_t have = file.peek(at, header.data(), header.size());
        const auto box = mediaconverter::placeBox(std::span(header).first(have), at, file.size());
        if (!box || box->end > file.size()) {
            malformed();
        }
        if (box->is("moov")) {
            std::vector<std::uint8_t> movie(static_cast<std::size_t>(box->end - box->content));
            if (file.peek(box->content, movie.data(), movie.size()) != movie.size()) {
                malformed();
            }
            return movie;
        }
        at = box->end;
    }
    malformed();
}

}  // namespace

void ShownTimes::add(std::int64_t start, std::int64_t duration) {
    starts.push_back(start);
    end = std::max(end, start + duration);
}

std::vector<ShownTimes> readShownTimes(const SourceReader& file) {
    const std::vector<std::uint8_t> movie = readMovie(file);
    const std::int64_t movieScale = timeScaleOf(contentOf(movie, boxType("mvhd")));
    std::vector<ShownTimes> tracks;
    forEachBox(movie, [&](const MemoryBox& box) {
        if (box.is("trak")) {
            tracks.push_back(TrackReader(box.content, movieScale).shown());
        }
    });
    return tracks;
}

}  // namespace worker
