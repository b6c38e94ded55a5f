#include "mediaconverter/worker/times/FrameGrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numeric>

namespace worker {

namespace {

constexpr AVRational millisecond = {1, 1000};

/// A container may round the rate to two decimals, as in 23.98.
constexpr double mostRounding = 3e-4;

/// Beyond these hardly any time could be off the grid, or none would be rounded.
constexpr double mostRate = 250;
constexpr double leastRate = 1;

constexpr std::size_t enoughTimes = 3;

/// The rates of television in countries that had NTSC are a thousandth lower than these.
constexpr std::array televisionRates = {24, 30, 48, 60, 120, 240};

bool isRounded(double stated, AVRational exact) {
    return std::abs(stated / av_q2d(exact) - 1) < mostRounding;
}

/// The exact rate that was rounded to the stated one: one of television, a whole number, or half of one.
std::optional<AVRational> exactRate(AVRational stated) {
    const double value = stated.den > 0 ? av_q2d(stated) : 0;
    if (value < leastRate || value > mostRate) {
        return std::nullopt;
    }
    for (const int rate : televisionRates) {
        if (const AVRational exact = {rate * 1000, 1001}; isRounded(value, exact)) {
            return exact;
        }
    }
    const auto halves = static_cast<int>(std::lround(2 * value));
    const AVRational exact = halves % 2 == 0 ? AVRational{halves / 2, 1} : AVRational{halves, 2};
    return isRounded(value, exact) ? std::optional(exact) : std::nullopt;
}

/// By how much `time` is off the nearest of the frames that are at 0 and every `frame`.
std::int64_t offGrid(std::int64_t time, std::int64_t frame) {
    const std::int64_t rest = (time % frame + frame) % frame;
    return rest > frame / 2 ? rest - frame : rest;
}

}  // namespace

AVRational FrameGrid::timeBase() const {
    return {1, std::lcm(rate.num, millisecond.den)};
}

std::optional<FrameGrid> FrameGrid::of(const AVStream& stream, std::span<const std::int64_t> firstTimes) {
    if (av_cmp_q(stream.time_base, millisecond) != 0 || firstTimes.size() < enoughTimes) {
        return std::nullopt;
    }
    for (const AVRational stated : {stream.avg_frame_rate, stream.r_frame_rate}) {
        const auto rate = exactRate(stated);
        if (!rate) {
            continue;
        }
        FrameGrid grid = {*rate, {0, 1}};
        const std::int64_t clock = grid.timeBase().den;
        const std::int64_t tick = clock / millisecond.den;
        std::int64_t least = 0;
        std::int64_t most = 0;
        for (const std::int64_t time : firstTimes) {
            const std::int64_t off = offGrid((time - firstTimes.front()) * tick, clock * rate->den / rate->num);
            least = std::min(least, off);
            most = std::max(most, off);
        }
        if (most - least <= 2 * tick) {
            // In the middle, so that rounding up and rounding down are equally far.
            grid.firstOffset = {static_cast<int>((least + most) / 2), static_cast<int>(clock)};
            return grid;
        }
    }
    return std::nullopt;
}

}  // namespace worker
