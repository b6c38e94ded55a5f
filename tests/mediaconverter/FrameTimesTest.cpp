#include "mediaconverter/worker/times/FrameTimes.h"

#include "mediaconverter/worker/AvPointers.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <vector>

// Frame rates that a clock of milliseconds rounds: the grid of exact times, and when a recording is not on one.

namespace {

using worker::FrameGrid;
using worker::FrameTimes;

constexpr double milliseconds = 1000;

class FrameTimesTest : public testing::Test {
protected:
    FrameTimesTest() {
        source_->time_base = {1, 1000};
        source_->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    }

    /// `count` frames at the rate from `start` on, in milliseconds; in the order in which they are shown.
    static std::vector<std::int64_t> frames(AVRational rate, int count, double start = 0) {
        std::vector<std::int64_t> times;
        for (int index = 0; index < count; ++index) {
            times.push_back(std::llround(start + index * milliseconds * rate.den / rate.num));
        }
        return times;
    }

    /// Places the frames, which the container announces with `stated`. Expects that none moves by more than a
    /// millisecond. Returns their exact times, in ticks of `clock_`; empty if there is no grid.
    std::vector<std::int64_t> place(const std::vector<std::int64_t>& times, AVRational stated) {
        constexpr std::size_t readAhead = 17;
        source_->avg_frame_rate = stated;
        const auto grid = FrameGrid::of(*source_, std::span(times).first(std::min(times.size(), readAhead)));
        if (!grid) {
            return {};
        }
        target_->time_base = grid->timeBase();
        clock_ = grid->timeBase().den;
        FrameTimes exact(*source_, *target_, *grid);
        std::vector<std::int64_t> placed;
        decoded_.clear();
        const worker::PacketPointer packet = worker::newPacket();
        for (const std::int64_t time : times) {
            packet->pts = packet->dts = time;
            packet->duration = 1;
            exact.place(*packet);
            placed.push_back(packet->pts);
            decoded_.push_back(packet->dts);
            EXPECT_LE(std::llabs(packet->pts - time * (clock_ / 1000)), clock_ / 1000) << time;
            EXPECT_LE(packet->dts, packet->pts);
        }
        return placed;
    }

    /// The number of runs of equal distances between neighbours, which is the length of an MP4's time table.
    static std::size_t entries(const std::vector<std::int64_t>& times) {
        std::size_t count = 0;
        std::int64_t last = -1;
        for (std::size_t index = 1; index < times.size(); ++index) {
            count += times[index] - times[index - 1] != last ? 1U : 0U;
            last = times[index] - times[index - 1];
        }
        return count;
    }

    bool isUntouched(const std::vector<std::int64_t>& placed, const std::vector<std::int64_t>& times) const {
        return std::equal(placed.begin(), placed.end(), times.begin(), times.end(),
                          [this](std::int64_t exact, std::int64_t time) { return exact == time * (clock_ / 1000); });
    }

    const std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> context_{avformat_alloc_context(),
                                                                                avformat_free_context};
    AVStream* const source_ = avformat_new_stream(context_.get(), nullptr);
    AVStream* const target_ = avformat_new_stream(context_.get(), nullptr);
    std::vector<std::int64_t> decoded_;
    std::int64_t clock_ = 1000;
};

TEST_F(FrameTimesTest, AnHourOfEachUsualRateHasOneDistance) {
    for (const AVRational rate : {AVRational{60000, 1001}, AVRational{30000, 1001}, AVRational{24000, 1001},
                                  AVRational{60, 1}, AVRational{30, 1}, AVRational{25, 1}, AVRational{24, 1},
                                  AVRational{15, 1}, AVRational{25, 2}, AVRational{144, 1}}) {
        const auto placed = place(frames(rate, 3600 * rate.num / rate.den), rate);
        EXPECT_EQ(entries(placed), 1U) << rate.num << "/" << rate.den;
        EXPECT_EQ(entries(decoded_), 1U) << rate.num << "/" << rate.den;
    }
}

TEST_F(FrameTimesTest, ARoundedRateStandsForTheExactOne) {
    const auto times = frames({60000, 1001}, 200'000);
    for (const AVRational stated : {AVRational{19001, 317}, AVRational{5994, 100}, AVRational{959, 16}}) {
        EXPECT_EQ(entries(place(times, stated)), 1U) << stated.num << "/" << stated.den;
    }
    EXPECT_EQ(entries(place(frames({24000, 1001}, 80'000), {2398, 100})), 1U);
}

TEST_F(FrameTimesTest, TimesThatAreRoundedDownLieOnTheGridToo) {
    auto times = frames({30000, 1001}, 100'000, -0.49);
    times.front() = 0;
    EXPECT_EQ(entries(place(times, {30000, 1001})), 1U);
}

TEST_F(FrameTimesTest, AFirstFrameThatIsAMillisecondLateLiesOnTheGridToo) {
    auto times = frames({30'000, 1001}, 10'000);
    times.front() += 1;
    EXPECT_EQ(entries(place(times, {30'000, 1001})), 1U);
}

TEST_F(FrameTimesTest, VariableRatesStayAsTheyAre) {
    std::vector<std::int64_t> times;
    std::int64_t time = 0;
    for (int index = 0; index < 5000; ++index) {
        times.push_back(time);
        time += 20 + index * index * 7 % 31;
    }
    EXPECT_TRUE(place(times, {30, 1}).empty());
}

TEST_F(FrameTimesTest, ARateThatBecomesVariableStaysAsItIsFromThere) {
    auto times = frames({30, 1}, 300);
    std::vector<std::int64_t> rest;
    for (int index = 0; index < 3000; ++index) {
        rest.push_back((rest.empty() ? times.back() : rest.back()) + 20 + index * index * 7 % 31);
    }
    times.insert(times.end(), rest.begin(), rest.end());
    const auto placed = place(times, {30, 1});
    ASSERT_EQ(placed.size(), times.size());
    // The first of them may lie on the grid by chance.
    constexpr int mostByChance = 3;
    EXPECT_TRUE(
        isUntouched({placed.begin() + 300 + mostByChance, placed.end()}, {rest.begin() + mostByChance, rest.end()}));
}

TEST_F(FrameTimesTest, AStatedRateThatIsNotTheRealOneChangesNothing) {
    EXPECT_TRUE(place(frames({25, 1}, 1000), {30, 1}).empty());
    EXPECT_TRUE(place(frames({30, 1}, 1000), {1000, 33}).empty());
}

TEST_F(FrameTimesTest, APauseStaysAPauseAndTheRateComesBackAfterIt) {
    auto times = frames({30, 1}, 300);
    const auto after = frames({30, 1}, 300, 20'013.4);
    times.insert(times.end(), after.begin(), after.end());
    const auto placed = place(times, {30, 1});
    ASSERT_EQ(placed.size(), times.size());
    EXPECT_NEAR(static_cast<double>(placed[300] - placed[299]) / static_cast<double>(clock_), 20.013 - 9.967, 0.0011);
    EXPECT_EQ(entries({placed.begin() + 316, placed.end()}), 1U);
}

TEST_F(FrameTimesTest, FramesThatAScreenRecorderLeavesOutStayMissing) {
    std::vector<std::int64_t> times;
    const auto all = frames({60, 1}, 3000);
    for (std::size_t index = 0; index < all.size(); ++index) {
        if (index < 3 || index * index % 7 != 1) {
            times.push_back(all[index]);
        }
    }
    const auto placed = place(times, {60, 1});
    ASSERT_EQ(placed.size(), times.size());
    std::set<std::int64_t> distances;
    for (std::size_t index = 1; index < placed.size(); ++index) {
        distances.insert((placed[index] - placed[index - 1]) % (clock_ / 60));
    }
    EXPECT_EQ(distances, std::set<std::int64_t>{0}) << "all distances are whole numbers of frames";
}

TEST_F(FrameTimesTest, ARateThatChangesKeepsItsTimesFromThere) {
    auto times = frames({24, 1}, 240);
    const auto after = frames({30, 1}, 300, 10'000);
    times.insert(times.end(), after.begin(), after.end());
    const auto placed = place(times, {24, 1});
    ASSERT_EQ(placed.size(), times.size());
    EXPECT_EQ(entries({placed.begin(), placed.begin() + 240}), 1U);
}

TEST_F(FrameTimesTest, AClockThatRunsAwayIsFollowed) {
    // A tenth of a second in an hour.
    const auto times = frames({30'000'000, 1'000'028}, 108'000);
    const auto placed = place(times, {30, 1});
    ASSERT_EQ(placed.size(), times.size());
    EXPECT_LT(entries(placed), 250U);
}

TEST_F(FrameTimesTest, FramesInAnotherOrderAreDecodedOneAfterTheOther) {
    const auto shown = frames({60000, 1001}, 6000);
    std::vector<std::int64_t> times = {shown[0]};
    for (std::size_t index = 1; index + 3 < shown.size(); index += 3) {
        times.insert(times.end(), {shown[index + 2], shown[index], shown[index + 1]});
    }
    source_->codecpar->video_delay = 1;
    place(times, {60000, 1001});
    EXPECT_EQ(entries(decoded_), 1U);
    // If the stream understates the delay, the times still increase where the container's do.
    source_->codecpar->video_delay = 0;
    EXPECT_FALSE(place(times, {60000, 1001}).empty());
}

TEST_F(FrameTimesTest, OtherClocksAndTooFewFramesHaveNoGrid) {
    EXPECT_TRUE(place({0, 33}, {30, 1}).empty());
    EXPECT_TRUE(place(frames({30, 1}, 100), {0, 1}).empty());
    EXPECT_TRUE(place(frames({30, 1}, 100), {1000, 1}).empty());
    source_->time_base = {1, 90'000};
    EXPECT_TRUE(place(frames({30, 1}, 100), {30, 1}).empty());
}

}  // namespace
