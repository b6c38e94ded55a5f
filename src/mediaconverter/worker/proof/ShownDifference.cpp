#include "mediaconverter/worker/proof/ShownDifference.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace worker {

namespace {

/// What rounding, and keeping packets with equal times apart, can add up to.
constexpr std::int64_t leastFrame = 10'000;

/// A frame may stay for minutes, but even then a larger delay would be visible.
constexpr std::int64_t mostFrame = 50'000;

/// How much more audio a decoder may hold back or drop than the container says; in microseconds.
constexpr std::int64_t mostCodecDelay = 100'000;

void sort(ShownTimes& times) {
    // Hours of audio are sorted already.
    if (!std::is_sorted(times.starts.begin(), times.starts.end())) {
        std::sort(times.starts.begin(), times.starts.end());
    }
}

std::int64_t frameOf(const ShownTimes& times, std::int64_t longest) {
    const auto count = static_cast<std::int64_t>(times.starts.size());
    const std::int64_t average = count > 1 ? (times.starts.back() - times.starts.front()) / (count - 1) : mostFrame;
    return std::clamp(longest > 0 ? std::min(longest, average) : average, leastFrame, mostFrame);
}

bool isApart(std::int64_t a, std::int64_t b, std::int64_t frame) {
    return std::llabs(a - b) > frame;
}

bool areEndsApart(const ShownTimes& wanted, const ShownTimes& found, std::int64_t frame) {
    // A last packet of unknown length ends where it starts; the writer chooses how long it is shown.
    const bool isEndKnown = wanted.end > wanted.starts.back();
    return isApart(wanted.starts.front(), found.starts.front(), frame) ||
           (isEndKnown && isApart(wanted.end, found.end, frame)) || found.end < wanted.end - frame;
}

bool isAnyApart(const ShownTimes& a, const ShownTimes& b, std::int64_t frame) {
    return !std::equal(a.starts.begin(), a.starts.end(), b.starts.begin(), b.starts.end(),
                       [frame](std::int64_t one, std::int64_t other) { return !isApart(one, other, frame); });
}

std::string seconds(std::int64_t time) {
    std::array<char, 32> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%.3f", static_cast<double>(time) / AV_TIME_BASE));
    return text.data();
}

std::string describe(const ShownTimes& times) {
    if (times.starts.empty()) {
        return "nothing";
    }
    return std::to_string(times.starts.size()) + " packets from " + seconds(times.starts.front()) + " to " +
           seconds(times.end) + " s";
}

}  // namespace

std::string findShownDifference(const SourceTimes& source, ShownTimes found, Likeness likeness, std::int64_t priming) {
    ShownTimes wanted = source.shown();
    sort(wanted);
    sort(found);
    const std::string both = "it shows " + describe(found) + ", the recording " + describe(wanted);
    if (wanted.starts.empty() || found.starts.empty()) {
        return wanted.starts.empty() == found.starts.empty() ? "" : both;
    }
    const std::int64_t frame = frameOf(wanted, source.longest());
    if (const auto& decoded = source.decodedAudio(); decoded && found.starts.front() < decoded->start) {
        found.starts.front() = std::min(found.starts.front() + priming, decoded->start);
    }
    if (areEndsApart(wanted, found, frame + (likeness == Likeness::otherFrames ? mostCodecDelay : 0))) {
        return both;
    }
    if (const auto& decoded = source.decodedAudio(); likeness == Likeness::otherFrames && decoded) {
        const bool isApartByMore =
            isApart(decoded->start, found.starts.front(), frame) || isApart(decoded->end, found.end, frame);
        return isApartByMore
                   ? both + ", which is decoded from " + seconds(decoded->start) + " to " + seconds(decoded->end) + " s"
                   : "";
    }
    if (likeness == Likeness::sameNumber && wanted.starts.size() != found.starts.size()) {
        return both;
    }
    if (likeness == Likeness::sameNumber && isAnyApart(wanted, found, frame)) {
        return both + ", and on the way they are apart by more than a frame";
    }
    return {};
}

}  // namespace worker
