#include "mediaconverter/FaultTest.h"
#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/FfmpegVersions.h"

extern "C" {
#include <libavutil/mastering_display_metadata.h>
}

#include <algorithm>
#include <filesystem>
#include <stdexcept>

// Properties of a recording's streams, and changes in mid-stream: colours, titles, an unknown codec, new parameters, a
// late start, hardly a frame.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

const Words h264Aac = {"-c:v", "libx264", "-preset", "veryfast", "-g", "25", "-c:a", "aac"};

/// The FLV tags after the file's header.
std::string tagsOf(const std::string& flv) {
    constexpr std::size_t flvHeader = 13;
    return contentOf(flv).substr(flvHeader);
}

class StreamsTest : public FaultTest {
protected:
    /// The recording with every `before` replaced by `after`, which has the same length.
    std::string patched(const std::string& name, const std::string& path, const std::string& before,
                        const std::string& after) {
        std::string bytes = contentOf(path);
        auto at = bytes.find(before);
        EXPECT_NE(at, std::string::npos);
        for (; at != std::string::npos; at = bytes.find(before, at)) {
            bytes.replace(at, after.size(), after);
        }
        return put(name, bytes);
    }

    static void expectPlays(const std::string& path, std::size_t frames) {
        const Words lines = linesOf(outputOf({"ffprobe", "-v", "error", "-count_frames", "-select_streams", "v:0",
                                              "-show_entries", "stream=nb_read_frames", "-of", "csv=p=0", path}));
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0], std::to_string(frames));
        EXPECT_EQ(runQuietly({"ffmpeg", "-v", "error", "-xerror", "-i", path, "-f", "null", "-"}), 0);
    }
};

/// Copies a recording into Matroska and gives its video the mastering display and light level of a bright one.
void writeBright(const std::string& source, const std::string& target) {
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, source.c_str(), nullptr, nullptr) < 0) {
        throw std::runtime_error("cannot open " + source);
    }
    const worker::InputPointer input(context);
    avformat_find_stream_info(input.get(), nullptr);
    avformat_alloc_output_context2(&context, nullptr, "matroska", target.c_str());
    const worker::OutputPointer output(context);
    AVStream* const stream = avformat_new_stream(output.get(), nullptr);
    avcodec_parameters_copy(stream->codecpar, input->streams[0]->codecpar);
    stream->codecpar->codec_tag = 0;
    stream->time_base = input->streams[0]->time_base;
    auto* const display = reinterpret_cast<AVMasteringDisplayMetadata*>(worker::ffmpeg::newSideData(
        *stream, AV_PKT_DATA_MASTERING_DISPLAY_METADATA, sizeof(AVMasteringDisplayMetadata)));
    *display = {};
    const AVRational primaries[3][2] = {
        {{34000, 50000}, {16000, 50000}}, {{13250, 50000}, {34500, 50000}}, {{7500, 50000}, {3000, 50000}}};
    std::copy(&primaries[0][0], &primaries[0][0] + 6, &display->display_primaries[0][0]);
    display->white_point[0] = {15635, 50000};
    display->white_point[1] = {16450, 50000};
    display->min_luminance = {50, 10000};
    display->max_luminance = {1000, 1};
    display->has_primaries = display->has_luminance = 1;
    auto* const light = reinterpret_cast<AVContentLightMetadata*>(
        worker::ffmpeg::newSideData(*stream, AV_PKT_DATA_CONTENT_LIGHT_LEVEL, sizeof(AVContentLightMetadata)));
    *light = {1000, 400};
    avio_open(&output->pb, target.c_str(), AVIO_FLAG_WRITE);
    if (avformat_write_header(output.get(), nullptr) < 0) {
        throw std::runtime_error("cannot write " + target);
    }
    const worker::PacketPointer packet = worker::newPacket();
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        av_packet_rescale_ts(packet.get(), input->streams[0]->time_base, stream->time_base);
        av_interleaved_write_frame(output.get(), packet.get());
    }
    av_write_trailer(output.get());
    avio_closep(&output->pb);
}

TEST_F(StreamsTest, BrightColoursKeepWhatTheyWereMasteredFor) {
    const std::string base =
        samples::make("mkv",
                      {"-an", "-c:v", "libx265", "-preset", "ultrafast", "-pix_fmt", "yuv420p10le", "-x265-params",
                       "log-level=0:colorprim=bt2020:transfer=smpte2084:colormatrix=bt2020nc"},
                      1);
    const std::string source = folder_.file("bright.mkv");
    writeBright(base, source);
    expectSuccess(source);
    const std::string shown = outputOf(
        {"ffprobe", "-v", "error", "-show_entries",
         "stream=color_primaries,color_transfer,color_space:stream_side_data=red_x,red_y,green_x,green_y,blue_x,blue_y,"
         "white_point_x,white_point_y,min_luminance,max_luminance,max_content,max_average",
         "-of", "default=nw=1", destination()});
    for (const char* const line :
         {"color_primaries=bt2020", "color_transfer=smpte2084", "color_space=bt2020nc", "red_x=34000/50000",
          "red_y=16000/50000", "green_x=13250/50000", "green_y=34500/50000", "blue_x=7500/50000", "blue_y=3000/50000",
          "white_point_x=15635/50000", "white_point_y=16450/50000", "min_luminance=50/10000",
          "max_luminance=10000000/10000", "max_content=1000", "max_average=400"}) {
        EXPECT_NE(shown.find(std::string(line) + "\n"), std::string::npos) << line << " is not in\n" << shown;
    }
}

TEST_F(StreamsTest, TitlesLanguagesAndDispositionsOfEveryTrackComeAlong) {
    put("subtitles.srt", "1\n00:00:00,500 --> 00:00:01,000\nHello\n");
    const std::string source = ffmpeg({"-i",
                                       samples::matroska(),
                                       "-i",
                                       folder_.file("subtitles.srt"),
                                       "-map",
                                       "0:v",
                                       "-map",
                                       "0:a",
                                       "-map",
                                       "0:a",
                                       "-map",
                                       "1:s",
                                       "-c",
                                       "copy",
                                       "-c:s",
                                       "srt",
                                       "-metadata:s:v:0",
                                       "title=The room",
                                       "-metadata:s:a:0",
                                       "title=The speaker",
                                       "-metadata:s:a:0",
                                       "language=deu",
                                       "-metadata:s:a:1",
                                       "title=The interpreter",
                                       "-metadata:s:a:1",
                                       "language=jpn",
                                       "-metadata:s:s:0",
                                       "language=swe",
                                       "-disposition:a:0",
                                       "0",
                                       "-disposition:a:1",
                                       "default",
                                       "titled.mkv"});
    expectSuccess(source);
    // Players show the handler's name; the title itself is stored as the track's name.
    const std::string tags = outputOf({"ffprobe", "-v", "error", "-show_entries",
                                       "stream_tags=handler_name,language:stream_disposition=default", "-of",
                                       "compact=p=0:nk=0", destination()});
    const Words lines = linesOf(tags);
    ASSERT_EQ(lines.size(), 4U) << tags;
    const Words titles = {"The room", "The speaker", "The interpreter", ""};
    const Words languages = {"und", "deu", "jpn", "swe"};
    for (std::size_t track = 0; track < lines.size(); ++track) {
        EXPECT_NE(lines[track].find(titles[track]), std::string::npos) << lines[track];
        EXPECT_NE(lines[track].find("language=" + languages[track]), std::string::npos) << lines[track];
    }
    EXPECT_NE(contentOf(destination()).find("nameThe interpreter"), std::string::npos);
    EXPECT_NE(lines[1].find("disposition:default=0"), std::string::npos) << lines[1];
    EXPECT_NE(lines[2].find("disposition:default=1"), std::string::npos) << lines[2];
}

TEST_F(StreamsTest, AnUnknownCodecIsAnErrorAndNoSilentDrop) {
    const std::string base = samples::matroska();
    expectError(patched("picture.mkv", base, "V_MPEG4/ISO/AVC", "V_MPEG9/ISO/XYZ"), codecUnknown);
    expectError(patched("sound.mkv", base, "A_AAC", "A_XYZ"), codecUnknown);
}

TEST_F(StreamsTest, AudioThatTurnsUpLateInAnFlvIsConverted) {
    const std::string alone = samples::make("flv",
                                            {"-an", "-c:v", "libx264", "-preset", "ultrafast", "-b:v", "9M", "-minrate",
                                             "9M", "-maxrate", "9M", "-bufsize", "9M", "-nal-hrd", "cbr"},
                                            8);
    ASSERT_GT(fs::file_size(alone), 6U << 20U);
    const std::string both =
        ffmpeg({"-i", samples::make("flv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"}, 4), "-c", "copy",
                "-output_ts_offset", "8", "both.flv"});
    const std::string source = put("late.flv", contentOf(alone) + tagsOf(both));
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=codec_name"), (Words{"h264", "aac"}));
    EXPECT_EQ(packetCounts(destination()), (std::vector<int>{300, packetCounts(both).at(1)}));
}

/// Two recordings with different video, one after the other, whose parameters are in the stream.
class NewParametersTest : public StreamsTest, public testing::WithParamInterface<const char*> {};

TEST_P(NewParametersTest, APictureThatChangesOnTheWayPlaysToTheEnd) {
    const Words codecs = {"-c:v", "libx264", "-preset", "ultrafast", "-g", "25", "-pix_fmt", "yuv420p"};
    const auto record = [&](const std::string& size, const std::string& offset, const std::string& name) {
        Words arguments = {"-f", "lavfi", "-i", "testsrc2=rate=25:size=" + size, "-t", "2"};
        arguments.insert(arguments.end(), codecs.begin(), codecs.end());
        arguments.insert(arguments.end(), {"-output_ts_offset", offset, name});
        return ffmpeg(arguments);
    };
    const std::string extension = GetParam();
    const std::string small = record("320x240", "0", "small." + extension);
    const std::string large = record("640x360", "2", "large." + extension);
    const std::string source =
        put("both." + extension, contentOf(small) + (extension == "flv" ? tagsOf(large) : contentOf(large)));
    // The counters of a transport stream restart, which cannot be distinguished from a loss.
    expectSuccess(source, extension == "ts" ? Words{"both (damaged).ts"} : Words{});
    expectPlays(destination(), 100);
    const Words sizes = linesOf(outputOf({"ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
                                          "frame=width,height", "-of", "csv=p=0", destination()}));
    EXPECT_EQ(std::count(sizes.begin(), sizes.end(), "320,240"), 50);
    EXPECT_EQ(std::count(sizes.begin(), sizes.end(), "640,360"), 50);
}

INSTANTIATE_TEST_SUITE_P(Kinds, NewParametersTest, testing::Values("flv", "ts"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(StreamsTest, AudioThatChangesItsRateOnTheWayIsReencoded) {
    const auto record = [&](const std::string& rate, const std::string& offset, const std::string& name) {
        return ffmpeg({"-f", "lavfi", "-i", "sine=sample_rate=" + rate, "-t", "2", "-c:a", "aac", "-output_ts_offset",
                       offset, name});
    };
    const std::string first = record("44100", "0", "first.flv");
    const std::string second = record("22050", "2", "second.flv");
    const std::string source = put("both.flv", contentOf(first) + tagsOf(second));
    const std::string log = expectSuccess(source);
    EXPECT_NE(log.find("re-encoded"), std::string::npos) << log;
    EXPECT_EQ(probe(destination(), "stream=codec_name,sample_rate"), Words{"aac,44100"});
    const Words duration = probe(destination(), "format=duration");
    EXPECT_NEAR(std::stod(duration.at(0)), 4, 0.2);
    EXPECT_EQ(runQuietly({"ffmpeg", "-v", "error", "-xerror", "-i", destination(), "-f", "null", "-"}), 0);
}

TEST_F(StreamsTest, ATimecodeStaysOne) {
    const std::string source =
        ffmpeg({"-i", samples::make("mov", h264Aac), "-c", "copy", "-timecode", "01:02:03:04", "coded.mov"});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream_tags=timecode"), probe(source, "stream_tags=timecode"));
    EXPECT_FALSE(probe(destination(), "stream_tags=timecode").empty());
}

TEST_F(StreamsTest, AudioWithACoverKeepsBoth) {
    const std::string cover = ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x64", "-frames:v", "1", "cover.png"});
    const std::string source = ffmpeg({"-i", samples::make("m4a", {"-vn", "-c:a", "aac"}), "-i", cover, "-map", "0:a",
                                       "-map", "1:v", "-c", "copy", "-disposition:v:0", "attached_pic", "covered.m4a"});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=codec_name"), (Words{"aac", "png"}));
    EXPECT_EQ(packetHashes(destination()), packetHashes(source));
}

TEST_F(StreamsTest, OnePictureOrOneFrameOfAudioLastsAWhile) {
    const std::string picture =
        ffmpeg({"-i", samples::matroska(), "-an", "-c", "copy", "-frames:v", "1", "picture.mkv"});
    const std::string sound = ffmpeg({"-i", samples::matroska(), "-vn", "-c", "copy", "-frames:a", "1", "sound.mka"});
    for (const std::string& source : {picture, sound}) {
        fs::remove(destination());
        expectSuccess(source);
        EXPECT_EQ(packetCounts(destination()), std::vector<int>{1}) << source;
        EXPECT_GT(std::stod(probe(destination(), "format=duration").at(0)), 0.01) << source;
    }
}

TEST_F(StreamsTest, PacketsThatAllHaveTheSameTimeAreAllSaved) {
    const std::string source =
        ffmpeg({"-i", samples::matroska(), "-an", "-c", "copy", "-bsf:v", "setts=ts=0:duration=0", "instant.mkv"});
    expectSuccess(source);
    EXPECT_EQ(packetCounts(destination()),
              packetCounts(samples::make("mkv", {"-an", "-c:v", "libx264", "-preset", "veryfast", "-g", "25"})));
}

}  // namespace
