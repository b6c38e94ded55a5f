#include "mediaconverter/Converters.h"
#include "mediaconverter/RecordingSink.h"
#include "mediaconverter/Samples.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

// Every recording becomes an MP4: streams that MP4 can hold are copied bit for bit, the rest is re-encoded.

namespace {

using namespace mediatest;

using Words = std::vector<std::string>;

const Words h264Aac = {"-c:v", "libx264", "-preset", "veryfast", "-c:a", "aac"};

struct Format {
    const char* name;
    const char* extension;
    Words codecs;
    Words expected;  ///< of the MP4's tracks
    bool isCopied;   ///< all of it, bit for bit
};

std::ostream& operator<<(std::ostream& out, const Format& format) {
    return out << format.name;
}

const std::vector<Format> formats = {
    {"Matroska", "mkv", h264Aac, {"h264", "aac"}, true},
    {"FragmentedMp4", "mp4", plus(h264Aac, {"-movflags", "frag_keyframe+empty_moov"}), {"h264", "aac"}, true},
    {"PlainMp4", "mp4", h264Aac, {"h264", "aac"}, true},
    {"Mov", "mov", h264Aac, {"h264", "aac"}, true},
    {"Flv", "flv", h264Aac, {"h264", "aac"}, true},
    {"HevcEac3",
     "mkv",
     {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=0", "-c:a", "eac3"},
     {"hevc", "eac3"},
     true},
    {"Av1Mp3",
     "mkv",
     {"-c:v", "libaom-av1", "-cpu-used", "8", "-usage", "realtime", "-c:a", "libmp3lame"},
     {"av1", "mp3"},
     true},
    {"Vp9Opus",
     "webm",
     {"-c:v", "libvpx-vp9", "-cpu-used", "8", "-deadline", "realtime", "-c:a", "libopus"},
     {"vp9", "opus"},
     true},
    {"Mpeg4Ac3", "mkv", {"-c:v", "mpeg4", "-c:a", "ac3"}, {"mpeg4", "ac3"}, true},
    {"Mpeg2Mp2", "mkv", {"-c:v", "mpeg2video", "-c:a", "mp2"}, {"mpeg2video", "mp3"}, true},
    {"Mp2InTransportStream", "ts", {"-vn", "-c:a", "mp2"}, {"mp3"}, true},
    {"Mp2Alone", "mp2", {"-vn", "-c:a", "mp2"}, {"mp3"}, true},
    {"Mpeg1", "mkv", {"-an", "-c:v", "mpeg1video"}, {"mpeg1video"}, true},
    {"Dts", "mkv", {"-vn", "-c:a", "dca", "-strict", "-2", "-b:a", "768k"}, {"dts"}, true},
    {"Vp9Profile1",
     "mkv",
     {"-an", "-c:v", "libvpx-vp9", "-pix_fmt", "yuv444p", "-cpu-used", "8", "-deadline", "realtime"},
     {"vp9"},
     true},
    {"H264BaselineAdts", "ts", plus(h264Aac, {"-profile:v", "baseline"}), {"h264", "aac"}, false},
    {"Adts", "aac", {"-vn", "-c:a", "aac"}, {"aac"}, false},
    {"H264Alac", "mov", {"-c:v", "libx264", "-preset", "veryfast", "-c:a", "alac"}, {"h264", "alac"}, true},
    {"H264Flac", "mkv", {"-c:v", "libx264", "-preset", "veryfast", "-c:a", "flac"}, {"h264", "flac"}, true},
    {"Vp8Vorbis", "webm", {"-c:v", "libvpx", "-deadline", "realtime", "-c:a", "libvorbis"}, {"h264", "aac"}, false},
    {"TheoraVorbis", "ogg", {"-c:v", "libtheora", "-c:a", "libvorbis"}, {"h264", "aac"}, false},
    {"MjpegPcm", "avi", {"-c:v", "mjpeg", "-c:a", "pcm_s16le"}, {"h264", "aac"}, false},
    {"RawVideo", "nut", {"-c:v", "rawvideo", "-pix_fmt", "rgb24", "-c:a", "aac"}, {"h264", "aac"}, false},
    {"Wav", "wav", {"-vn", "-c:a", "pcm_s16le"}, {"aac"}, false},
    {"VideoOnly", "mkv", {"-an", "-c:v", "libx264", "-preset", "veryfast"}, {"h264"}, true},
    {"AudioOnly", "mka", {"-vn", "-c:a", "aac"}, {"aac"}, true},
};

class FormatsTest : public testing::TestWithParam<Format> {
protected:
    static void expectStartAndDuration(const std::string& result) {
        const auto times = probe(result, "format=start_time,duration");
        ASSERT_EQ(times.size(), 1U);
        std::istringstream fields(times.front());
        double start = -1;
        double duration = -1;
        char comma = 0;
        fields >> start >> comma >> duration;
        EXPECT_NEAR(start, 0, 0.001);
        EXPECT_NEAR(duration, 3, 0.1);
    }

    RecordingSink sink_;
    TemporaryFolder folder_;
};

TEST_P(FormatsTest, BecomesAnMp4ThatPlays) {
    const std::string source = samples::make(GetParam().extension, GetParam().codecs);
    const std::string before = contentOf(source);
    const std::string result = folder_.file("out.mp4");
    convert(source, result, sink_);
    ASSERT_TRUE(sink_.isSuccess());
    EXPECT_EQ(probe(result, "stream=codec_name"), GetParam().expected);
    EXPECT_EQ(contentOf(source), before);
    EXPECT_EQ(folder_.names(), Words{"out.mp4"});
    EXPECT_EQ(runQuietly({"ffmpeg", "-v", "error", "-xerror", "-i", result, "-f", "null", "-"}), 0) << "does not play";
    if (GetParam().isCopied) {
        EXPECT_EQ(packetHashes(result), packetHashes(source));
    }
    expectStartAndDuration(result);
    const std::string bytes = contentOf(result);
    EXPECT_LT(bytes.find("moov"), bytes.find("mdat")) << "the index is not in front";
}

INSTANTIATE_TEST_SUITE_P(Recordings, FormatsTest, testing::ValuesIn(formats),
                         [](const auto& test) { return test.param.name; });

}  // namespace
