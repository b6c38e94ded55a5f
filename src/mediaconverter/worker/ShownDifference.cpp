#include "mediaconverter/worker/ShownDifference.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace worker {

namespace {

/// What rounding and the keeping apart of packets with the same time may add up to.
constexpr std::int64_t leastFrame = 10'000;

/// A picture may stay for minutes; being that late would still be seen.
constexpr std::int64_t mostFrame = 50'000;

/// Smaller gaps are not filled when audio is re-encoded; in microseconds.
constexpr std::int64_t mostUnfilled = 100'000;

void sort(ShownTimes& times) {
    // Hours of audio are in order already.
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

bool isAnyApart(const ShownTimes& a, const ShownTimes& b, std::int64_t frame) {
    return !std::equal(a.starts.begin(), a.starts.end(), b.starts.begin(), b.starts.end(),
                       [frame](std::int64_t one, std::int64_t other) { return !isApart(one, other, frame); });
}

std::string describe(const ShownTimes& times) {
    if (times.starts.empty()) {
        return "nothing";
    }
    std::array<char, 128> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%zu packets from %.3f to %.3f s", times.starts.size(),
                                    static_cast<double>(times.starts.front()) / AV_TIME_BASE,
                                    static_cast<double>(times.end) / AV_TIME_BASE));
    return text.data();
}

}  // namespace

std::string findShownDifference(const SourceTimes& source, ShownTimes found, Likeness likeness) {
    ShownTimes wanted = source.shown();
    sort(wanted);
    sort(found);
    const std::string both = "it shows " + describe(found) + ", the recording " + describe(wanted);
    if (wanted.starts.empty() || found.starts.empty()) {
        return wanted.starts.empty() == found.starts.empty() ? "" : both;
    }
    const std::int64_t frame =
        frameOf(wanted, source.longest()) + (likeness == Likeness::otherFrames ? mostUnfilled : 0);
    // A last packet of unknown length ends where it starts; how long it is shown is then the writer's choice.
    const bool isEndKnown = wanted.end > wanted.starts.back();
    if (isApart(wanted.starts.front(), found.starts.front(), frame) ||
        (isEndKnown && isApart(wanted.end, found.end, frame)) || found.end < wanted.end - frame) {
        return both;
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
