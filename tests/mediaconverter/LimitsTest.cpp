#include "mediaconverter/FaultTest.h"
#include "mediaconverter/Matroska.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>

// Extremes: more bytes, hours and packets than 32 bits or a desktop's memory hold, and headers that lie about them.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

class LimitsTest : public FaultTest {
protected:
    static std::string soundSample() { return samples::make("mka", {"-vn", "-c:a", "alac", "-live", "1"}, 1); }

    static std::string pictureSample() {
        return samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac", "-live", "1"}, 1);
    }

    /// The largest memory use of all processes waited for so far, in MiB.
    static long mostMemory() {
        rusage usage = {};
        ::getrusage(RUSAGE_CHILDREN, &usage);
        return usage.ru_maxrss / 1024;
    }

    static bool hasBox(const std::string& path, const std::string& name) {
        // The index is in front.
        return outputOf({"head", "-c", "4000000", path}).find(name) != std::string::npos;
    }
};

TEST_F(LimitsTest, AFastConversionReportsItsProgressAtMostFortyTimesASecond) {
    const std::string source = samples::make("mkv", {"-c:v", "mpeg4", "-q:v", "2", "-c:a", "aac"}, 120);
    const auto start = std::chrono::steady_clock::now();
    convert(source, destination(), sink_);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    ASSERT_TRUE(sink_.isSuccess());
    // Besides the worker's reports there are the first one and those of the two steps that follow.
    const auto most = static_cast<std::size_t>(elapsed / std::chrono::milliseconds(25)) + 3;
    EXPECT_LE(sink_.progress().size(), most);
}

TEST_F(LimitsTest, MoreThanFourGibibytesAreConverted) {
    const std::string source = folder_.file("huge.mka");
    constexpr std::uint64_t block = std::uint64_t{48} << 20U;
    constexpr int blocks = 90;
    {
        Matroska recording(source, soundSample());
        for (int index = 0; index < blocks; ++index) {
            recording.cluster(static_cast<std::uint64_t>(index) * 4096 / 48);
            recording.sparsePacket(1, 0, "packet " + std::to_string(index), block);
        }
    }
    ASSERT_GT(fs::file_size(source), std::uint64_t{1} << 32U);
    // If the disk has not enough room, the promise cannot be checked: this fails.
    convert(source, destination(), sink_);
    ASSERT_TRUE(sink_.isSuccess());
    EXPECT_GT(fs::file_size(destination()), std::uint64_t{1} << 32U);
    EXPECT_TRUE(hasBox(destination(), "co64"));
    // The last packet lies beyond the reach of 32 bits.
    const Words positions = linesOf(
        outputOf({"ffprobe", "-v", "error", "-show_entries", "packet=pos,size", "-of", "csv=p=0", destination()}));
    ASSERT_EQ(positions.size(), static_cast<std::size_t>(blocks));
    for (std::size_t index = 0; index < positions.size(); ++index) {
        const auto comma = positions[index].find(',');
        EXPECT_EQ(positions[index].substr(0, comma), std::to_string(block));
        const std::string text = "packet " + std::to_string(index);
        EXPECT_EQ(outputOf({"dd", "if=" + destination(), "bs=" + std::to_string(text.size()), "count=1",
                            "iflag=skip_bytes", "skip=" + positions[index].substr(comma + 1), "status=none"}),
                  text);
    }
}

TEST_F(LimitsTest, MoreThanThirteenHoursAreConverted) {
    // 2^32 steps of a clock of 90 kHz are 13.25 hours.
    for (const char* const extension : {"mkv", "mov"}) {
        const std::string base =
            samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-bf", "2", "-c:a", "aac"});
        const std::string source = folder_.file(std::string("long.") + extension);
        ASSERT_EQ(runQuietly({"ffmpeg", "-v", "error", "-y", "-i", base, "-an", "-c", "copy", "-bsf:v",
                              "setts=pts=PTS*20000:dts=DTS*20000", "-video_track_timescale", "90000", source}),
                  0);
        fs::remove(destination());
        expectSuccess(source);
        const auto lines = probe(destination(), "format=start_time,duration");
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_GT(std::stod(lines[0].substr(lines[0].find(',') + 1)), 13.25 * 3600);
        EXPECT_NEAR(std::stod(lines[0]), 0, 0.001);
        // Packet after packet, from the first.
        const auto times = [](const std::string& path) {
            std::vector<double> result;
            for (const std::string& line : linesOf(outputOf(
                     {"ffprobe", "-v", "error", "-show_entries", "packet=pts_time", "-of", "csv=p=0", path}))) {
                result.push_back(std::stod(line));
            }
            return result;
        };
        const auto before = times(source);
        const auto after = times(destination());
        ASSERT_EQ(after.size(), before.size());
        for (std::size_t index = 0; index < before.size(); ++index) {
            EXPECT_NEAR(after[index] - after[0], before[index] - before[0], 0.001) << index;
        }
    }
}

TEST_F(LimitsTest, AMillionPacketsAreConverted) {
    const std::string source = folder_.file("million.mka");
    constexpr int packets = 1'000'000;
    {
        Matroska recording(source, soundSample());
        constexpr int inCluster = 300;
        for (int index = 0; index < packets; ++index) {
            const std::uint64_t milliseconds = static_cast<std::uint64_t>(index) * 4096 / 48;
            static std::uint64_t begun = 0;
            if (index % inCluster == 0) {
                begun = milliseconds;
                recording.cluster(begun);
            }
            recording.packet(1, static_cast<int>(milliseconds - begun), "payload " + std::to_string(index));
        }
    }
    convert(source, destination(), sink_);
    ASSERT_TRUE(sink_.isSuccess());
    EXPECT_EQ(
        outputOf({"ffprobe", "-v", "error", "-show_entries", "stream=nb_frames", "-of", "csv=p=0", destination()}),
        std::to_string(packets) + "\n");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these keep freed memory
    // 80 MiB, plus a packet's position, size and times in the recording, during the conversion and in the verification.
    EXPECT_LT(mostMemory(), 80 + 3 * 100);
#endif
}

TEST_F(LimitsTest, ABlockThatDeclaresAGibibyteCostsNoMemoryAndNoOtherPacket) {
    const std::string source = folder_.file("block.mka");
    {
        Matroska recording(source, soundSample());
        recording.cluster(0);
        for (int index = 0; index < 20; ++index) {
            recording.packet(1, index * 85, std::string(500, 'x'));
        }
    }
    // The last packet, truncated: its length says 1 GiB.
    std::string bytes = contentOf(source);
    bytes += std::string("\xA3\x01\x00\x00\x00\x40\x00\x00\x00\x81\x06\xA4\x80", 13) + std::string(1000, 'x');
    expectSuccess(put("block.mka", bytes));
    EXPECT_EQ(packetCounts(destination()).at(0), 20);
    EXPECT_LT(mostMemory(), 1024);
}

/// A number in a header, replaced by an impossible one.
struct Lie {
    const char* name;
    const char* extension;
    Words codecs;
    std::string before;       ///< the bytes that lead to the number
    std::ptrdiff_t distance;  ///< from their start to the number
    std::string number;
};

class LyingHeaderTest : public LimitsTest, public testing::WithParamInterface<Lie> {};

const Words tiny = {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"};
const Words tinyAvi = {"-c:v", "mjpeg", "-c:a", "pcm_s16le"};
const std::string most(4, '\xFF');
const std::string largePositive("\x7F\xFF\xFF\xFF", 4);

const std::vector<Lie> lies = {
    {"MatroskaWidth", "mkv", tiny, "\xB0\x82\x01\x40\xBA", 2, "\xFF\xFF"},
    {"MatroskaHeight", "mkv", tiny, "\xBA\x81\xF0", 2, std::string(1, '\0')},
    {"MatroskaSampleRate", "mkv", tiny, "\xB5\x88\x40\xE7\x70", 2, std::string("\x7F\xEF\xFF\xFF\xFF\xFF\xFF\xFF", 8)},
    {"MatroskaSampleRateIsNoNumber", "mkv", tiny, "\xB5\x88\x40\xE7\x70", 2,
     std::string("\x7F\xF8\x00\x00\x00\x00\x00\x00", 8)},
    {"MatroskaDuration", "mkv", tiny, "\x44\x89\x88", 3, std::string("\x7F\xEF\xFF\xFF\xFF\xFF\xFF\xFF", 8)},
    {"MatroskaTimeScale", "mkv", tiny, "\x2A\xD7\xB1\x83", 4, "\xFF\xFF\xFF"},
    {"Mp4SampleCount", "mp4", tiny, "stsz", 12, most},
    {"Mp4SampleSize", "mp4", tiny, "stsz", 16, largePositive},
    {"Mp4TimeCount", "mp4", tiny, "stts", 8, most},
    {"Mp4TimeSampleCount", "mp4", tiny, "stts", 12, most},
    {"Mp4ChunkCount", "mp4", tiny, "stco", 8, most},
    {"Mp4ChunkOffset", "mp4", tiny, "stco", 12, most},
    {"Mp4SamplesOfAChunk", "mp4", tiny, "stsc", 16, most},
    {"Mp4MovieTimeScale", "mp4", tiny, "mvhd", 16, most},
    {"Mp4MovieDuration", "mp4", tiny, "mvhd", 20, most},
    {"Mp4MediaTimeScale", "mp4", tiny, "mdhd", 16, std::string(4, '\0')},
    {"Mp4EditListCount", "mp4", tiny, "elst", 8, most},
    {"Mp4Width", "mp4", tiny, "avc1", 28, "\xFF\xFF\xFF\xFF"},
    {"FragmentSampleCount",
     "mp4",
     {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac", "-movflags", "frag_keyframe+empty_moov"},
     "trun",
     8,
     most},
    {"AviFrameCount", "avi", tinyAvi, "avih", 24, most},
    {"AviStreamCount", "avi", tinyAvi, "avih", 32, most},
    {"AviRate", "avi", tinyAvi, "strh", 32, most},
    {"AviScale", "avi", tinyAvi, "strh", 28, std::string(4, '\0')},
    {"AviWidth", "avi", tinyAvi, "strf", 12, largePositive},
    {"WavRate", "wav", {"-vn", "-c:a", "pcm_s16le"}, "fmt ", 12, most},
    {"WavChannels", "wav", {"-vn", "-c:a", "pcm_s16le"}, "fmt ", 10, "\xFF\xFF"},
    {"WavBitsOfASample", "wav", {"-vn", "-c:a", "pcm_s16le"}, "fmt ", 22, "\xFF\xFF"},
    {"WavLength", "wav", {"-vn", "-c:a", "pcm_s16le"}, "data", 4, most},
};

TEST_P(LyingHeaderTest, EndsInTimeAndWithinItsMemory) {
    std::string bytes = contentOf(samples::make(GetParam().extension, GetParam().codecs, 1));
    const auto found = bytes.find(GetParam().before);
    ASSERT_NE(found, std::string::npos) << "the number to change is not at the expected position";
    bytes.replace(found + static_cast<std::size_t>(GetParam().distance), GetParam().number.size(), GetParam().number);
    const std::string source = put("lie.rec", bytes);

    const auto start = std::chrono::steady_clock::now();
    convert(source, destination(), sink_);
    // A limit for endless loops, not a measure of speed.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::minutes(2));
    EXPECT_TRUE(sink_.isSuccess() || sink_.onlyError().has_value());
    // Exceeding the memory limit is a valid answer; a worker that died or had to be killed is not.
    if (const auto error = sink_.onlyError()) {
        EXPECT_TRUE(*error < static_cast<int>(workerMissing) || *error == static_cast<int>(workerOutOfMemory))
            << *error;
    }
    EXPECT_TRUE(contentOf(source) == bytes);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these keep freed memory
    EXPECT_LT(mostMemory(), 1536) << "MiB";
#endif
}

INSTANTIATE_TEST_SUITE_P(Headers, LyingHeaderTest, testing::ValuesIn(lies),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
