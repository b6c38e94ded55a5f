#include "mediaconverter/ShownTimes.h"

#include <cstdlib>
#include <filesystem>
#include <utility>

// A player shows the same of the MP4 as of the recording: when each track starts and ends, how many frames it has, and
// the offsets between the tracks, whatever the container, the codec and the recording's first time.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

const Words baseline = {"-c:v", "libx264", "-preset", "ultrafast", "-profile:v", "baseline", "-g", "10"};
const Words reordered = {"-c:v", "libx264", "-preset", "ultrafast", "-bf", "2", "-g", "20"};
const Words aac = {"-c:a", "aac"};

class StartTest : public ShownTimesTest, public testing::WithParamInterface<std::tuple<Kind, Start>> {};

TEST_P(StartTest, IsShownAsItWasRecorded) {
    const auto& [kind, start] = GetParam();
    expectShownAsRecorded(record(kind, start), kind.isCopied);
}

const std::vector<Start> starts = {
    {"Together", "0", "0", "0"},     {"AudioLater", "0", "0.5", "0"},   {"AudioMuchLater", "0", "20", "0"},
    {"VideoLater", "0.7", "0", "0"}, {"AtTenHours", "0", "0", "36000"}, {"AudioLaterAtTenHours", "0", "0.5", "36000"},
};
const std::vector<Start> fewStarts = {starts[1], starts[3]};

/// Times that count from 1970, as written by recorders that use the time of day.
const std::vector<Start> sinceTheEpoch = {{"SinceTheEpoch", "0", "0.5", "1700000000"}};

const std::vector<Kind> h264s = {
    {"Baseline", "mkv", baseline, aac, true},
    {"Reordered", "mkv", reordered, aac, true},
};

const std::vector<Kind> matroskas = {
    {"BaselineOpus", "mkv", baseline, {"-c:a", "libopus"}, true},
    {"BaselinePcm", "mkv", baseline, {"-c:a", "pcm_s16le"}, false},
    {"HevcMp3",
     "mkv",
     {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=0"},
     {"-c:a", "libmp3lame"},
     true},
    {"Vp9Opus", "webm", {"-c:v", "libvpx-vp9", "-cpu-used", "8", "-deadline", "realtime"}, {"-c:a", "libopus"}, true},
    {"Vp8Vorbis", "webm", {"-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "8"}, {"-c:a", "libvorbis"}, false},
    {"Av1Flac", "mkv", {"-c:v", "libaom-av1", "-cpu-used", "8", "-usage", "realtime"}, {"-c:a", "flac"}, true},
};

const auto nameOf = [](const auto& test) {
    return std::string(std::get<0>(test.param).name) + std::get<1>(test.param).name;
};

INSTANTIATE_TEST_SUITE_P(H264, StartTest, testing::Combine(testing::ValuesIn(h264s), testing::ValuesIn(starts)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Matroska, StartTest,
                         testing::Combine(testing::ValuesIn(matroskas), testing::ValuesIn(fewStarts)), nameOf);

const std::vector<Kind> clocked = {
    {"Matroska", "mkv", reordered, aac, true},
    {"MatroskaPcm", "mkv", baseline, {"-c:a", "pcm_s16le"}, false},
    {"Ts", "ts", reordered, aac, true},
    {"Mp4", "mp4", reordered, aac, true},
};

INSTANTIATE_TEST_SUITE_P(Clocks, StartTest,
                         testing::Combine(testing::ValuesIn(clocked), testing::ValuesIn(sinceTheEpoch)), nameOf);

TEST_F(ShownTimesTest, VideoAloneThatStartsAtTenHoursIsShown) {
    const std::string source =
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=2", "-c:v", "libx264", "-profile:v",
                "baseline", "-preset", "ultrafast", "-output_ts_offset", "36000", "alone.mkv"});
    expectShownAsRecorded(source, true);
    EXPECT_EQ(shownOf(destination()).at(0).packets, 50);
}

TEST_F(ShownTimesTest, PicturesOfBaselineKeepTheirAspectAndColours) {
    const std::string entries = "stream=sample_aspect_ratio,color_space,color_transfer,color_primaries";
    const Words video = {"-f",
                         "lavfi",
                         "-i",
                         "testsrc2=size=64x48:rate=25:duration=1",
                         "-vf",
                         "setsar=4/3,setparams=color_primaries=bt709:color_trc=bt709:colorspace=bt709",
                         "-c:v",
                         "libx264",
                         "-profile:v",
                         "baseline",
                         "-preset",
                         "ultrafast",
                         "-color_primaries",
                         "bt709",
                         "-color_trc",
                         "bt709",
                         "-colorspace",
                         "bt709"};
    const auto expectKept = [&](const std::string& source) {
        fs::remove(destination());
        expectSuccess(source);
        EXPECT_EQ(probe(destination(), entries), probe(source, entries));
    };
    Words words = video;
    words.push_back("wide.flv");
    const std::string source = ffmpeg(words);
    expectKept(source);
    EXPECT_EQ(probe(source, entries), Words{"4:3,bt709,bt709,bt709"});
    // A container that overrides what the frames say.
    expectKept(ffmpeg({"-i", source, "-c", "copy", "-aspect", "4:3", "overruled.mkv"}));
}

/// Some packets of a recording never came: a muted microphone, a static screen.
struct Silence {
    const char* name;
    const char* video;  ///< condition for the missing video packets
    const char* audio;
};

std::ostream& operator<<(std::ostream& out, const Silence& silence) {
    return out << silence.name;
}

class SilenceTest : public ShownTimesTest, public testing::WithParamInterface<std::tuple<Kind, Silence>> {};

TEST_P(SilenceTest, TracksStayInStepToTheEnd) {
    const auto& [kind, silence] = GetParam();
    Words words = {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=5:duration=45",
                   "-f", "lavfi", "-i", "sine=sample_rate=48000:duration=45",
                   "-g", "1"};
    words.insert(words.end(), kind.video.begin(), kind.video.end());
    words.insert(words.end(), kind.audio.begin(), kind.audio.end());
    words.insert(words.end(), {"-bsf:v", std::string("noise=drop=") + silence.video, "-bsf:a",
                               std::string("noise=drop=") + silence.audio, std::string("silence.") + kind.extension});
    expectShownAsRecorded(ffmpeg(words), kind.isCopied);
}

const std::vector<Kind> broadcasts = {
    {"Ts", "ts", {"-c:v", "libx264", "-preset", "ultrafast"}, {"-c:a", "mp2"}, true},
    {"Ps", "mpg", {"-c:v", "mpeg2video", "-r", "25"}, {"-c:a", "mp2"}, true},
    {"Ogg", "ogg", {"-c:v", "libtheora"}, {"-c:a", "libvorbis"}, false},
};

const std::vector<Silence> silences = {
    {"Muted", "0", "between(pts*tb\\,5\\,37)"},
    {"StaticScreen", "between(pts*tb\\,5\\,37)", "0"},
    {"InTurns", "between(pts*tb\\,4\\,18)", "between(pts*tb\\,20\\,36)"},
    {"Both", "between(pts*tb\\,5\\,20)", "between(pts*tb\\,5\\,20)"},
};

INSTANTIATE_TEST_SUITE_P(Broadcasts, SilenceTest,
                         testing::Combine(testing::ValuesIn(broadcasts), testing::ValuesIn(silences)), nameOf);

TEST_F(ShownTimesTest, AudioThatEndsMoreThanAFrameTooEarlyKeepsTheSecondName) {
    // Two packets are missing; only longer gaps are filled with silence.
    const std::string source = ffmpeg({"-f", "lavfi", "-i", "sine=sample_rate=48000:duration=2", "-c:a", "pcm_s16le",
                                       "-bsf:a", "noise=drop=between(n\\,20\\,21)", "lost.mka"});
    const std::string log = expectSuccess(source, {"lost (damaged).mka"});
    EXPECT_NE(log.find("not shown as recorded"), std::string::npos) << log;
}

TEST_F(ShownTimesTest, AClockThatAllTracksSeeLeapingIsNoPause) {
    const auto record = [&](const char* offset, const std::string& name) {
        return contentOf(ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=4", "-f", "lavfi", "-i",
                                 "sine=sample_rate=48000:duration=4", "-c:v", "libx264", "-preset", "ultrafast", "-c:a",
                                 "libmp3lame", "-output_ts_offset", offset, name}));
    };
    const std::string source = put("both.ts", record("0", "first.ts") + record("40000", "second.ts"));
    // The counters of the packets restart too, which cannot be distinguished from a loss.
    expectSuccess(source, {"both (damaged).ts"});
    const auto shown = shownOf(destination());
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_NEAR(shown[0].end, 8, 0.3);
    EXPECT_NEAR(shown[1].end, 8, 0.3);
    EXPECT_EQ(shown[0].packets, 200);
}

/// A container without presentation times, and frames that are decoded in another order than they are shown.
struct Untimed {
    const char* name;
    const char* extension;
    Words codecs;
    double first;  ///< when the first picture is shown, against the first audio, in seconds
};

std::ostream& operator<<(std::ostream& out, const Untimed& kind) {
    return out << kind.name;
}

class UntimedTest : public ShownTimesTest, public testing::WithParamInterface<Untimed> {
protected:
    /// The frames in presentation order, each with the second at which it is shown.
    static std::vector<std::pair<double, std::string>> picturesOf(const std::string& path) {
        std::vector<std::pair<double, std::string>> pictures;
        for (const std::string& line :
             linesOf(outputOf({"ffmpeg", "-v", "error", "-i", path, "-map", "0:v:0", "-fps_mode", "passthrough",
                               "-copyts", "-enc_time_base", "1:1000", "-f", "framemd5", "-"}))) {
            if (line.starts_with('#')) {
                continue;
            }
            const auto time = line.find(',', line.find(',') + 1) + 1;
            pictures.emplace_back(std::atof(line.c_str() + time) / 1000, line.substr(line.rfind(',') + 1));
        }
        return pictures;
    }
};

TEST_P(UntimedTest, EachPictureIsShownInItsOrderAtItsTime) {
    Words words = {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=3",
                   "-f", "lavfi", "-i", "sine=sample_rate=48000:duration=3"};
    words.insert(words.end(), GetParam().codecs.begin(), GetParam().codecs.end());
    words.push_back(std::string("untimed.") + GetParam().extension);
    const std::string source = ffmpeg(words);
    expectSuccess(source);
    const auto before = picturesOf(source);
    const auto after = picturesOf(destination());
    ASSERT_EQ(after.size(), 75U);
    ASSERT_GE(before.size(), 73U) << "the ffmpeg program may lose the last ones";
    for (std::size_t index = 0; index < before.size(); ++index) {
        EXPECT_EQ(after[index].second, before[index].second) << index;
    }
    for (std::size_t index = 0; index < after.size(); ++index) {
        EXPECT_NEAR(after[index].first - after[0].first, 0.040 * static_cast<double>(index), 0.002) << index;
    }
    const auto shown = shownOf(destination());
    EXPECT_NEAR(shown.at(0).first - (shown.size() > 1 ? shown[1].first : 0), GetParam().first, 0.030);
}

const Words x264 = {"-c:v", "libx264", "-preset", "ultrafast", "-bf", "3", "-b-pyramid", "normal", "-g", "30"};

const std::vector<Untimed> untimed = {
    {"H264InAvi", "avi", plus(x264, {"-c:a", "libmp3lame"}), 0},
    {"Mpeg4InAvi", "avi", {"-c:v", "mpeg4", "-bf", "2", "-c:a", "libmp3lame"}, 0},
    {"Mpeg2InAvi", "avi", {"-c:v", "mpeg2video", "-bf", "2", "-c:a", "mp2"}, 0},
    {"H264InAsf", "asf", plus(x264, {"-c:a", "aac"}), 0},
    {"RawH264", "h264", plus(x264, {"-an"}), 0},
    {"RawHevc", "hevc", {"-an", "-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=0:bframes=3"}, 0},
    {"Mpeg2InPs", "mpg", {"-c:v", "mpeg2video", "-bf", "2", "-c:a", "mp2"}, 0},
};

INSTANTIATE_TEST_SUITE_P(Containers, UntimedTest, testing::ValuesIn(untimed),
                         [](const auto& test) { return std::string(test.param.name); });

/// 2^31 ticks of a clock of 48 kHz are 12.4 hours, of 90 kHz 6.6.
class LongPauseTest : public ShownTimesTest, public testing::WithParamInterface<std::tuple<Kind, const char*>> {};

TEST_P(LongPauseTest, StaysAsLongAsItWas) {
    const auto& kind = std::get<Kind>(GetParam());
    const char* const hours = std::get<const char*>(GetParam());
    const std::string base = record(kind, {"", "0", "0", "0"});
    const auto later = [&](const char* count) {
        return std::string("setts=ts=TS+gte(N\\,") + count + ")*3600*" + hours + "/TB";
    };
    const std::string source = ffmpeg({"-i", base, "-c", "copy", "-bsf:v", later("20"), "-bsf:a", later("40"),
                                       std::string("paused.") + kind.extension});
    expectShownAsRecorded(source, kind.isCopied);
    EXPECT_GT(shownOf(destination()).at(1).end, std::atof(hours) * 3600);
}

const std::vector<Kind> pausing = {
    {"Aac", "mkv", baseline, aac, true},
    {"Opus", "mkv", baseline, {"-c:a", "libopus"}, true},
};

INSTANTIATE_TEST_SUITE_P(Hours, LongPauseTest,
                         testing::Combine(testing::ValuesIn(pausing), testing::Values("13", "30")),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param).name) + std::get<1>(test.param);
                         });

}  // namespace
