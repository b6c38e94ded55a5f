#include "mediaconverter/FaultTest.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <sstream>

// Everything in a recording besides its packets: times that start at 0 and stay in sync, names, chapters, rotation.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

class RecordingsTest : public FaultTest {
protected:
    /// Presentation times of a stream's packets, in seconds, sorted.
    static std::vector<double> times(const std::string& path, const std::string& stream) {
        std::vector<double> result;
        std::string output;
        runFor({"ffprobe", "-v", "quiet", "-select_streams", stream, "-show_entries", "packet=pts_time", "-of",
                "csv=p=0", path},
               output);
        for (const std::string& line : linesOf(output)) {
            result.push_back(std::atof(line.c_str()));
        }
        std::sort(result.begin(), result.end());
        return result;
    }

    /// How far the audio is ahead of the video at a fraction of the recording, compared with the source.
    static void expectInStep(const std::string& source, const std::string& result) {
        const auto sourceVideo = times(source, "v:0");
        const auto sourceAudio = times(source, "a:0");
        const auto video = times(result, "v:0");
        const auto audio = times(result, "a:0");
        ASSERT_EQ(video.size(), sourceVideo.size());
        ASSERT_EQ(audio.size(), sourceAudio.size());
        for (const double share : {0.0, 0.5, 0.999}) {
            const auto v = static_cast<std::size_t>(share * static_cast<double>(video.size()));
            const auto a = static_cast<std::size_t>(share * static_cast<double>(audio.size()));
            EXPECT_NEAR(video[v] - audio[a], sourceVideo[v] - sourceAudio[a], 0.020) << "at " << share;
        }
        EXPECT_NEAR(std::min(video.front(), audio.front()), 0, 0.050);
    }

    static Words h264Aac() { return {"-c:v", "libx264", "-preset", "veryfast", "-g", "25", "-c:a", "aac"}; }
};

TEST_F(RecordingsTest, AudioAndVideoStayInStep) {
    for (const char* const extension : {"mkv", "ts", "flv", "mov"}) {
        const std::string source = samples::make(extension, h264Aac(), 10);
        fs::remove(destination());
        expectSuccess(source);
        expectInStep(source, destination());
    }
}

TEST_F(RecordingsTest, ATrackThatStartsLaterStaysLater) {
    const std::string base = samples::make("mkv", h264Aac(), 4);
    const std::string source =
        ffmpeg({"-i", base, "-itsoffset", "1.5", "-i", base, "-map", "0:v", "-map", "1:a", "-c", "copy", "late.mkv"});
    expectSuccess(source);
    expectInStep(source, destination());
}

TEST_F(RecordingsTest, AnOffsetOfHoursIsTakenAway) {
    const std::string source =
        ffmpeg({"-i", samples::matroska(), "-c", "copy", "-output_ts_offset", "30000", "hours.mkv"});
    expectSuccess(source);
    expectInStep(source, destination());
}

TEST_F(RecordingsTest, BroadcastClocksThatWrapGoOn) {
    // 33 bits of 90 kHz end at 95443.7 s.
    const std::string source = ffmpeg({"-i", samples::make("mkv", h264Aac(), 10), "-c", "copy", "-output_ts_offset",
                                       "95438", "-muxdelay", "0", "wrap.ts"});
    expectSuccess(source);
    const auto video = times(destination(), "v:0");
    ASSERT_EQ(video.size(), 250U);
    EXPECT_NEAR(video.back() - video.front(), 9.96, 0.05);
    const auto audio = times(destination(), "a:0");
    EXPECT_NEAR(audio.back() - audio.front(), 10, 0.1);
}

TEST_F(RecordingsTest, ClocksThatJumpBackGoOnWithoutALoss) {
    // The same transport stream twice in a row: times restart in the middle.
    const std::string once = contentOf(samples::make("ts", h264Aac(), 5));
    const std::string source = put("twice.ts", once + once);
    // The counters of the packets restart too, which cannot be distinguished from a loss.
    expectSuccess(source, {"twice (damaged).ts"});
    const auto video = times(destination(), "v:0");
    const auto audio = times(destination(), "a:0");
    EXPECT_EQ(video.size(), 250U);
    EXPECT_NEAR(video.back() - video.front(), 10, 0.3);
    EXPECT_NEAR(audio.back() - video.back(), 0, 0.3);
}

TEST_F(RecordingsTest, AGapStaysAGap) {
    const std::string source = ffmpeg({"-i", samples::make("mkv", h264Aac(), 4), "-c", "copy", "-bsf:v",
                                       "setts=pts=PTS+gte(PTS\\,2000)*3000:dts=DTS+gte(DTS\\,2000)*3000", "-bsf:a",
                                       "setts=pts=PTS+gte(PTS\\,2000)*3000:dts=DTS+gte(DTS\\,2000)*3000", "gap.mkv"});
    expectSuccess(source);
    expectInStep(source, destination());
    EXPECT_GT(times(destination(), "v:0").back(), 6.5);
}

TEST_F(RecordingsTest, DuplicateAndMissingTimesAreRepaired) {
    const std::string source = ffmpeg({"-i", samples::make("mkv", h264Aac(), 4), "-c", "copy", "-bsf:a",
                                       "setts=ts=if(between(N\\,20\\,30)\\,PREV_OUTPTS\\,PTS)", "double.mkv"});
    expectSuccess(source);
    EXPECT_EQ(packetCounts(destination()), packetCounts(source));
    const std::string raw = ffmpeg({"-i", samples::make("mkv", h264Aac(), 4), "-c", "copy", "-an", "raw.h264"});
    fs::remove(destination());
    expectSuccess(raw);
    EXPECT_EQ(packetCounts(destination()), packetCounts(raw));
}

TEST_F(RecordingsTest, VariableFrameRateIsKept) {
    const std::string source =
        ffmpeg({"-i", samples::make("mkv", h264Aac(), 4), "-vf", "select='not(mod(n,7))+not(mod(n,3))'", "-vsync",
                "vfr", "-c:v", "libx264", "-preset", "veryfast", "-c:a", "copy", "vfr.mkv"});
    expectSuccess(source);
    expectInStep(source, destination());
    const auto before = times(source, "v:0");
    const auto after = times(destination(), "v:0");
    for (std::size_t index = 0; index < before.size(); ++index) {
        EXPECT_NEAR(after[index] - after[0], before[index] - before[0], 0.001);
    }
}

TEST_F(RecordingsTest, AStreamThatTurnsUpLateComesAlong) {
    // First the video alone, for longer than a demuxer looks ahead, then both.
    const std::string alone = samples::make("ts",
                                            {"-an", "-c:v", "libx264", "-preset", "ultrafast", "-b:v", "9M", "-minrate",
                                             "9M", "-maxrate", "9M", "-bufsize", "9M", "-nal-hrd", "cbr"},
                                            8);
    const std::string both = samples::make("ts", h264Aac(), 4);
    const std::string source = put("late.ts", contentOf(alone) + contentOf(both));
    ASSERT_GT(fs::file_size(alone), 6U << 20U);
    // It is joined from two recordings, so its counters restart, which cannot be distinguished from a loss.
    expectSuccess(source, {"late (damaged).ts"});
    EXPECT_EQ(probe(destination(), "stream=codec_name"), (Words{"h264", "aac"}));
    EXPECT_NEAR(times(destination(), "a:0").front(), 8, 0.5);
}

TEST_F(RecordingsTest, AChangeOfResolutionInWhatIsEncodedAnewIsScaled) {
    const std::string small =
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=160x120:rate=25", "-t", "1", "-c:v", "mjpeg", "a.mjpeg"});
    const std::string large =
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=322x241:rate=25", "-t", "1", "-c:v", "mjpeg", "b.mjpeg"});
    put("list", "file '" + small + "'\nfile '" + large + "'\n");
    const std::string source =
        ffmpeg({"-f", "concat", "-safe", "0", "-i", folder_.file("list"), "-c", "copy", "both.mkv"});
    expectSuccess(source);
    EXPECT_EQ(packetCounts(destination()), std::vector<int>{50});
}

TEST_F(RecordingsTest, NamesChaptersLanguagesAndSubtitlesComeAlong) {
    put("subtitles.srt", "1\n00:00:00,500 --> 00:00:01,000\nHello\n\n2\n00:00:01,500 --> 00:00:02,000\nWorld\n");
    put("chapters.txt",
        ";FFMETADATA1\ntitle=The meeting\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\ntitle=Opening\n"
        "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=3000\ntitle=Rest\n");
    const std::string base = samples::matroska();
    const std::string source = ffmpeg({"-i",
                                       base,
                                       "-i",
                                       folder_.file("subtitles.srt"),
                                       "-i",
                                       folder_.file("chapters.txt"),
                                       "-map",
                                       "0:v",
                                       "-map",
                                       "0:a",
                                       "-map",
                                       "0:a",
                                       "-map",
                                       "1:s",
                                       "-map_metadata",
                                       "2",
                                       "-map_chapters",
                                       "2",
                                       "-c",
                                       "copy",
                                       "-c:s",
                                       "srt",
                                       "-metadata:s:a:0",
                                       "language=deu",
                                       "-metadata:s:a:1",
                                       "language=fra",
                                       "-disposition:a:1",
                                       "0",
                                       "-metadata",
                                       "creation_time=2024-05-06T07:08:09Z",
                                       "rich.mkv"});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=codec_name").size(), 5U) << "with the track that holds the chapters' names";
    const auto languages = probe(destination(), "stream_tags=language");
    EXPECT_NE(std::find(languages.begin(), languages.end(), "deu"), languages.end());
    EXPECT_NE(std::find(languages.begin(), languages.end(), "fra"), languages.end());
    const std::string all = outputOf({"ffprobe", "-v", "error", "-show_chapters", "-show_format", destination()});
    EXPECT_NE(all.find("TAG:title=Opening"), std::string::npos);
    EXPECT_NE(all.find("TAG:title=The meeting"), std::string::npos);
    EXPECT_NE(all.find("2024-05-06T07:08:09"), std::string::npos);
    std::string text;
    runFor({"ffmpeg", "-v", "error", "-i", destination(), "-map", "0:s:0", "-f", "srt", "-"}, text);
    EXPECT_NE(text.find("Hello"), std::string::npos);
    EXPECT_NE(text.find("00:00:01,500 --> 00:00:02,000"), std::string::npos) << text;
}

TEST_F(RecordingsTest, RotationAndColourComeAlong) {
    for (const Words& codec : {Words{"libx264", "-preset", "veryfast"}, Words{"mjpeg", "-pix_fmt", "yuvj420p"}}) {
        Words command = {"-i",    samples::matroska(), "-c:a",  "copy", "-color_primaries", "bt709", "-color_trc",
                         "bt709", "-colorspace",       "bt709", "-c:v"};
        command.insert(command.end(), codec.begin(), codec.end());
        command.push_back(codec[0] + ".mov");
        const std::string source = put("turned.mov", samples::turned(contentOf(ffmpeg(command))));
        ASSERT_FALSE(probe(source, "stream_side_data=rotation").empty());
        expectSuccess(source);
        EXPECT_EQ(probe(destination(), "stream_side_data=rotation"), probe(source, "stream_side_data=rotation"))
            << codec[0];
        EXPECT_EQ(probe(destination(), "stream=color_primaries,color_space,color_transfer"),
                  probe(source, "stream=color_primaries,color_space,color_transfer"))
            << codec[0];
        fs::remove(destination());
    }
}

TEST_F(RecordingsTest, AttachmentsAreNamedInTheLogAndCoversStay) {
    put("notes.txt", "notes");
    const std::string cover = ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x64", "-frames:v", "1", "cover.jpg"});
    const std::string source =
        ffmpeg({"-i", samples::matroska(), "-attach", cover, "-metadata:s:2", "mimetype=image/jpeg", "-attach",
                folder_.file("notes.txt"), "-metadata:s:3", "mimetype=text/plain", "-c", "copy", "attached.mkv"});
    const std::string log = expectSuccess(source);
    EXPECT_NE(log.find("left out"), std::string::npos) << log;
    const auto codecs = probe(destination(), "stream=codec_name");
    EXPECT_NE(std::find(codecs.begin(), codecs.end(), "mjpeg"), codecs.end());
}

TEST_F(RecordingsTest, MonoFiveChannelsAndOddRatesKeepTheirLayout) {
    for (const auto& [channels, rate, layout] :
         {std::tuple{"1", "8000", "mono"}, std::tuple{"2", "44100", "stereo"}, std::tuple{"6", "48000", "5.1"}}) {
        const std::string source = ffmpeg(
            {"-f", "lavfi", "-i", "sine=duration=2", "-ac", channels, "-ar", rate, "-c:a", "pcm_s16le", "sound.wav"});
        fs::remove(destination());
        expectSuccess(source);
        const auto lines = probe(destination(), "stream=codec_name,sample_rate,channels,channel_layout");
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0], std::string("aac,") + rate + "," + channels + "," + layout);
    }
}

TEST_F(RecordingsTest, AHundredTracksAreConverted) {
    Words arguments = {"-i", samples::make("mkv", {"-vn", "-c:a", "aac"}, 1)};
    for (int track = 0; track < 100; ++track) {
        arguments.insert(arguments.end(), {"-map", "0:a"});
    }
    arguments.insert(arguments.end(), {"-c", "copy", "many.mkv"});
    const std::string source = ffmpeg(arguments);
    expectSuccess(source);
    EXPECT_EQ(packetCounts(destination()).size(), 100U);
}

}  // namespace
