#include "mediaconverter/ShownTimes.h"

#include <algorithm>
#include <filesystem>
#include <string>

// A packet far into the recording that is shown before all others: its start becomes the recording's.

namespace {

using namespace mediatest;

TEST_F(ShownTimesTest, ATrackFoundLateThatBeginsBeforeTheOthersIsShownFirst) {
    const std::string base = ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=100:duration=7", "-f", "lavfi",
                                     "-i", "sine=sample_rate=48000:duration=7", "-c:v", "libx264", "-preset",
                                     "ultrafast", "-profile:v", "baseline", "-c:a", "aac", "base.mkv"});
    // The first audio comes after 600 frames, but was to be heard half a second before the first of them.
    const std::string source = ffmpeg({"-i", base, "-c", "copy", "-bsf:a", "noise=drop=lt(n\\,282),setts=ts=TS-6.5/TB",
                                       "-max_interleave_delta", "1", "-output_ts_offset", "10", "late.mkv"});
    std::filesystem::remove(base);
    const Words packets = probe(source, "packet=stream_index,pts_time");
    const auto first = std::find_if(packets.begin(), packets.end(), [](const auto& line) { return line[0] == '1'; });
    ASSERT_GT(first - packets.begin(), 550);
    const double distance = std::stod(packets.front().substr(2)) - std::stod(first->substr(2));
    ASSERT_GT(distance, 0.4);
    expectSuccess(source);
    const auto shown = shownOf(destination());
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_NEAR(shown[0].first, distance, 0.01);
    EXPECT_NEAR(shown[1].first, 0, 0.01);
    EXPECT_EQ(packetCounts(destination()), packetCounts(source));
}

}  // namespace
