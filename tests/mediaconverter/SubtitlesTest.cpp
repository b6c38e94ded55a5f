#include "mediaconverter/FaultTest.h"

// Subtitles are sparse: pauses of any length between them move neither them nor the other tracks.

namespace {

using namespace mediatest;

class SubtitlesTest : public FaultTest, public testing::WithParamInterface<const char*> {
protected:
    static std::string textOf(const std::string& path) {
        std::string text;
        runFor({"ffmpeg", "-v", "error", "-i", path, "-map", "0:s:0", "-f", "srt", "-"}, text);
        return text;
    }
};

TEST_P(SubtitlesTest, PausesBetweenThemStay) {
    put("texts.srt", "1\n00:00:05,000 --> 00:00:06,000\nHello\n\n2\n00:00:52,000 --> 00:00:53,500\nAgain\n\n"
                     "3\n00:30:00,000 --> 00:30:02,000\nThe end\n");
    const std::string source =
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=1/30:duration=1860", "-i", folder_.file("texts.srt"),
                "-map", "0:v", "-map", "1:s", "-c:v", "libx264", "-preset", "ultrafast", "-c:s",
                std::string(GetParam()) == "mkv" ? "srt" : "mov_text", std::string("talk.") + GetParam()});
    expectSuccess(source);
    const std::string text = textOf(destination());
    for (const char* const times :
         {"00:00:05,000 --> 00:00:06,000", "00:00:52,000 --> 00:00:53,500", "00:30:00,000 --> 00:30:02,000"}) {
        EXPECT_NE(text.find(times), std::string::npos) << times << " is not in\n" << text;
    }
    EXPECT_EQ(packetCounts(destination()).at(0), packetCounts(source).at(0));
}

INSTANTIATE_TEST_SUITE_P(Containers, SubtitlesTest, testing::Values("mkv", "mp4"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
