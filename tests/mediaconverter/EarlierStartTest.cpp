#include "mediaconverter/ShownTimes.h"

// A packet far into the recording that is to be shown before all others: its start is the recording's.

namespace {

using namespace mediatest;

TEST_F(ShownTimesTest, ATrackFoundLateThatBeginsBeforeTheOthersIsShownFirst) {
    // The first audio comes after 600 pictures, and was to be heard half a second before the first of them.
    const std::string source = ffmpeg({"-f",
                                       "lavfi",
                                       "-i",
                                       "testsrc2=size=64x48:rate=100:duration=7",
                                       "-f",
                                       "lavfi",
                                       "-i",
                                       "sine=sample_rate=48000:duration=7",
                                       "-c:v",
                                       "libx264",
                                       "-preset",
                                       "ultrafast",
                                       "-profile:v",
                                       "baseline",
                                       "-c:a",
                                       "aac",
                                       "-bsf:a",
                                       "noise=drop=lt(n\\,282),setts=ts=TS-6.5/TB",
                                       "-max_interleave_delta",
                                       "1",
                                       "-output_ts_offset",
                                       "10",
                                       "late.mkv"});
    const auto recorded = shownOf(source);
    ASSERT_EQ(recorded.size(), 2U);
    ASSERT_LT(recorded[1].first, recorded[0].first - 0.4);
    expectShownAsRecorded(source, true);
    EXPECT_NEAR(shownOf(destination()).at(1).first, 0, 0.001);
}

}  // namespace
