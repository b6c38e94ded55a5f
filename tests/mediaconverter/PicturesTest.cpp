#include "mediaconverter/FaultTest.h"

#include <cstdlib>
#include <filesystem>

// Re-encoded video keeps its colors, fields and shape, on machines of any size.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

class PicturesTest : public FaultTest {
protected:
    /// The color in the middle of the first frame.
    static Words middleOf(const std::string& path, const std::string& filters = {}) {
        const std::string bytes = outputOf({"ffmpeg", "-v", "error", "-i", path, "-frames:v", "1", "-vf",
                                            filters + "crop=2:2,format=rgb24", "-f", "rawvideo", "-"});
        Words values;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            values.push_back(std::to_string(static_cast<unsigned char>(bytes.at(channel))));
        }
        return values;
    }
};

struct Rgb {
    const char* name;
    const char* size;
    const char* matrix;
};

class RgbTest : public PicturesTest, public testing::WithParamInterface<Rgb> {};

TEST_P(RgbTest, HasTheColorsOfTheSourceAndSaysByWhichMatrix) {
    for (const char* const format : {"rgb24", "bgra", "gbrp"}) {
        const std::string codec = std::string(format) == "gbrp" ? "ffv1" : "rawvideo";
        const std::string source = ffmpeg({"-f", "lavfi", "-i", std::string("color=0x20C040:size=") + GetParam().size,
                                           "-frames:v", "3", "-pix_fmt", format, "-c:v", codec, "rgb.nut"});
        fs::remove(destination());
        // NUT is not accounted for, so every NUT recording keeps a second name.
        expectSuccess(source, {"rgb (damaged).nut"});
        fs::remove(folder_.file("rgb (damaged).nut"));
        EXPECT_EQ(probe(destination(), "stream=color_range,color_space"),
                  Words{std::string("tv,") + GetParam().matrix});
        const Words color = middleOf(destination());
        EXPECT_NEAR(std::stoi(color[0]), 0x20, 6) << format;
        EXPECT_NEAR(std::stoi(color[1]), 0xC0, 6) << format;
        EXPECT_NEAR(std::stoi(color[2]), 0x40, 6) << format;
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, RgbTest,
                         testing::Values(Rgb{"High", "1280x720", "bt709"}, Rgb{"Standard", "640x480", "smpte170m"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(PicturesTest, FullRangeBecomesLimitedWithTheSameColors) {
    const std::string source = ffmpeg({"-f", "lavfi", "-i", "color=white:size=320x240", "-frames:v", "3", "-pix_fmt",
                                       "yuvj420p", "-c:v", "mjpeg", "full.mkv"});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=color_range"), Words{"tv"});
    EXPECT_GT(std::stoi(middleOf(destination())[0]), 250);
}

TEST_F(PicturesTest, AFullRangeThatOnlyTheRecordingNamesBecomesLimitedAsWell) {
    const std::string source =
        ffmpeg({"-f", "lavfi", "-i", "color=0x202020:size=320x240", "-frames:v", "3", "-vf",
                "scale=out_range=pc,format=yuv420p", "-color_range", "pc", "-c:v", "ffv1", "full.mkv"});
    expectSuccess(source);
    EXPECT_NEAR(std::stoi(middleOf(destination())[0]), 0x20, 4);
}

TEST_F(PicturesTest, ColorsThatTheSourceNamesStay) {
    const std::string source =
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=320x240", "-frames:v", "3", "-pix_fmt", "yuv422p", "-vf",
                "setparams=color_primaries=bt2020:color_trc=smpte2084:colorspace=bt2020nc", "-c:v", "ffv1",
                "-color_primaries", "bt2020", "-color_trc", "smpte2084", "-colorspace", "bt2020nc", "named.mkv"});
    ASSERT_EQ(probe(source, "stream=color_space,color_transfer,color_primaries"), Words{"bt2020nc,smpte2084,bt2020"});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=color_space,color_transfer,color_primaries"),
              Words{"bt2020nc,smpte2084,bt2020"});
}

TEST_F(PicturesTest, InterlacedStaysInterlaced) {
    for (const auto& [order, wanted] : {std::pair{"tff", "tt"}, std::pair{"bff", "bb"}}) {
        const std::string source = ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=320x240:rate=50", "-t", "1", "-vf",
                                           std::string("tinterlace=interleave_") +
                                               (std::string(order) == "tff" ? "top" : "bottom") + ",setfield=" + order,
                                           "-c:v", "ffv1", "-field_order", wanted, "fields.mkv"});
        fs::remove(destination());
        expectSuccess(source);
        EXPECT_EQ(probe(destination(), "stream=field_order"), Words{wanted});
        EXPECT_EQ(packetCounts(destination()), packetCounts(source));
    }
}

TEST_F(PicturesTest, FieldsThatOnlyLaterPicturesHaveStay) {
    const auto record = [&](const Words& options, const std::string& name) {
        Words words = {"-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25", "-t", "0.4"};
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(), {"-c:v", "prores_ks", "-profile:v", "0", name});
        return ffmpeg(words);
    };
    record({}, "frames.mov");
    record({"-vf", "setfield=bff", "-flags", "+ildct"}, "fields.mov");
    put("both.txt", "ffconcat version 1.0\nfile frames.mov\nfile fields.mov\n");
    const std::string source = ffmpeg({"-i", folder_.file("both.txt"), "-c", "copy", "both.mov"});
    for (const char* const part : {"frames.mov", "fields.mov", "both.txt"}) {
        fs::remove(folder_.file(part));
    }
    const std::string log = expectSuccess(source);
    EXPECT_NE(log.find("restarted with its largest form"), std::string::npos) << log;
    EXPECT_EQ(probe(destination(), "stream=field_order"), Words{"bb"});
    EXPECT_EQ(packetCounts(destination()), packetCounts(source));
}

TEST_F(PicturesTest, EachFieldKeepsItsColor) {
    // One field is red and the other blue; they would be mixed if the frames were treated as progressive.
    const std::string source = ffmpeg({"-f", "lavfi", "-i", "color=red:size=320x240:rate=25", "-f", "lavfi", "-i",
                                       "color=blue:size=320x240:rate=25", "-filter_complex",
                                       "[0]format=yuv444p[a];[1]format=yuv444p[b];"
                                       "[a][b]interleave,tinterlace=interleave_top,setfield=tff,format=yuv422p",
                                       "-t", "0.2", "-c:v", "ffv1", "-field_order", "tt", "fields.mkv"});
    expectSuccess(source);
    EXPECT_GT(std::stoi(middleOf(destination(), "field=top,")[0]), 240);
    EXPECT_GT(std::stoi(middleOf(destination(), "field=bottom,")[2]), 240);
}

TEST_F(PicturesTest, RotationSurvives) {
    const std::string source =
        put("turned.mov", samples::turned(contentOf(samples::make("mov", {"-an", "-c:v", "mjpeg"}, 1))));
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream_side_data=rotation"), probe(source, "stream_side_data=rotation"));
    EXPECT_FALSE(probe(destination(), "stream_side_data=rotation").empty());
}

#ifdef MEDIACONVERTER_MANY_PROCESSORS

class ManyProcessorsTest : public PicturesTest, public testing::WithParamInterface<const char*> {};

TEST_P(ManyProcessorsTest, LeaveRoomForTheLargestPictures) {
    const std::string codec = GetParam();
    const Words options = codec == "libvpx" ? Words{"-deadline", "realtime", "-cpu-used", "8"} : Words{"-q:v", "20"};
    Words arguments = {"-f", "lavfi", "-i", "testsrc2=rate=25:size=3840x2160", "-frames:v", "30", "-c:v", codec};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back("large.mkv");
    const std::string source = ffmpeg(arguments);
    const ProcessResult result =
        convertInProcess(source, destination(), {"LD_PRELOAD=" MEDIACONVERTER_MANY_PROCESSORS});
    EXPECT_TRUE(result.saidHundred()) << result.output;
}

INSTANTIATE_TEST_SUITE_P(Codecs, ManyProcessorsTest, testing::Values("libvpx", "mjpeg"),
                         [](const auto& test) { return std::string(test.param); });

#endif

}  // namespace
