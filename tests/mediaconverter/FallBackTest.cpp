#include "mediaconverter/FaultTest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

// A track that cannot be stored as it is: only that track is re-encoded, and parts that cannot be re-encoded either are
// dropped and reported.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

class FallBackTest : public FaultTest {
protected:
    /// A tone of 440 Hz, `seconds` long, in the format of the name's extension.
    std::string tone(const std::string& rate, const std::string& channels, Words codec, const std::string& name) {
        Words arguments = {"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=" + rate, "-t", "2", "-ac", channels};
        arguments.insert(arguments.end(), codec.begin(), codec.end());
        arguments.push_back(name);
        return ffmpeg(arguments);
    }

    /// The frequency of the tone at `from` seconds, in Hz, from its zero crossings.
    static double frequencyAt(const std::string& path, const std::string& from) {
        return toneIn(path, {"-ss", from}, {"-ac", "1"});
    }

    /// Converts and returns the log. Two recordings in one file may count as a damaged one.
    std::string convertJoined(const std::string& source) {
        testing::internal::CaptureStderr();
        convert(source, destination(), sink_);
        std::string log = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(sink_.isSuccess()) << log;
        return log;
    }

    /// Half a second of audio from the middle on, one sample per 1/48000 s.
    static std::vector<int> heardFromTheMiddle(const std::string& path) {
        const std::string bytes = outputOf({"ffmpeg", "-v", "error", "-ss", "2", "-i", path, "-t", "0.5", "-ar",
                                            "48000", "-ac", "1", "-f", "s16le", "-"});
        std::vector<int> samples;
        for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
            samples.push_back(static_cast<std::int16_t>(static_cast<unsigned char>(bytes[at]) |
                                                        static_cast<unsigned char>(bytes[at + 1]) << 8U));
        }
        return samples;
    }

    static void expectPlays(const std::string& path) {
        EXPECT_EQ(runQuietly({"ffmpeg", "-v", "error", "-xerror", "-i", path, "-f", "null", "-"}), 0)
            << path << " does not play";
    }
};

/// Audio whose packets state their own form.
struct SelfDescribing {
    const char* name;
    const char* extension;
    Words codec;
    const char* firstRate;
    const char* firstChannels;
    const char* secondRate;
    const char* secondChannels;
    const char* result = "aac";
};

class ChangingAudioTest : public FallBackTest, public testing::WithParamInterface<SelfDescribing> {};

TEST_P(ChangingAudioTest, IsReencodedAndKeepsItsPitchToTheEnd) {
    const SelfDescribing& kind = GetParam();
    const std::string extension = kind.extension;
    const std::string first = tone(kind.firstRate, kind.firstChannels, kind.codec, "first." + extension);
    const std::string second = tone(kind.secondRate, kind.secondChannels, kind.codec, "second." + extension);
    const std::string source = put("both." + extension, contentOf(first) + contentOf(second));
    const std::string log = convertJoined(source);
    EXPECT_NE(log.find("re-encoded"), std::string::npos) << log;
    const Words lines = probe(destination(), "stream=codec_name");
    ASSERT_EQ(lines, Words{kind.result});
    EXPECT_NEAR(frequencyAt(destination(), "1"), 440, 10);
    EXPECT_NEAR(frequencyAt(destination(), "3"), 440, 10);
    EXPECT_NEAR(std::stod(probe(destination(), "format=duration").at(0)), 4, 0.25);
    expectPlays(destination());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ChangingAudioTest,
    testing::Values(SelfDescribing{"AdtsRate", "aac", {"-c:a", "aac"}, "44100", "1", "22050", "1"},
                    SelfDescribing{"AdtsChannels", "aac", {"-c:a", "aac"}, "48000", "1", "48000", "2"},
                    SelfDescribing{"AacInTsRate", "ts", {"-c:a", "aac"}, "48000", "2", "44100", "2"},
                    SelfDescribing{"AacInTsChannels", "ts", {"-c:a", "aac"}, "48000", "2", "48000", "1"},
                    SelfDescribing{"Mp3Rate",
                                   "mp3",
                                   {"-c:a", "libmp3lame", "-write_xing", "0", "-id3v2_version", "0"},
                                   "48000",
                                   "1",
                                   "24000",
                                   "1"},
                    SelfDescribing{"Mp2InTsRate", "ts", {"-c:a", "mp2"}, "48000", "2", "32000", "2"},
                    SelfDescribing{"Ac3Rate", "ac3", {"-c:a", "ac3"}, "48000", "2", "32000", "2"},
                    SelfDescribing{"Ac3InTsChannels", "ts", {"-c:a", "ac3"}, "48000", "2", "48000", "6", "flac"},
                    SelfDescribing{"Eac3Channels", "eac3", {"-c:a", "eac3"}, "48000", "2", "48000", "6", "flac"},
                    SelfDescribing{"DtsRate", "dts", {"-c:a", "dca", "-strict", "-2"}, "48000", "2", "44100", "2"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(FallBackTest, HevcThatChangesItsSizeInATransportStreamPlaysToTheEnd) {
    const auto record = [&](const std::string& size, const std::string& name) {
        return ffmpeg({"-f", "lavfi", "-i", "testsrc2=rate=25:size=" + size, "-t", "1", "-c:v", "libx265", "-preset",
                       "ultrafast", "-x265-params", "log-level=0", name});
    };
    const std::string source =
        put("both.ts", contentOf(record("320x240", "a.ts")) + contentOf(record("640x480", "b.ts")));
    convertJoined(source);
    const std::string counted = outputOf({"ffprobe", "-v", "error", "-count_frames", "-show_entries",
                                          "stream=nb_read_frames", "-of", "csv=p=0", destination()});
    EXPECT_EQ(linesOf(counted), Words{"50"});
    expectPlays(destination());
}

TEST_F(FallBackTest, OnlyTheTrackThatCannotBeStoredIsReencoded) {
    const auto record = [&](const std::string& rate, const std::string& offset, const std::string& name) {
        return ffmpeg({"-f", "lavfi", "-i", "testsrc2=rate=25:size=320x240", "-f", "lavfi", "-i",
                       "sine=sample_rate=" + rate, "-t", "2", "-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac",
                       "-output_ts_offset", offset, name});
    };
    const std::string source =
        put("both.ts", contentOf(record("48000", "0", "a.ts")) + contentOf(record("32000", "2", "b.ts")));
    const std::string log = convertJoined(source);
    EXPECT_NE(log.find("audio stream 1 (aac) is re-encoded"), std::string::npos) << log;
    EXPECT_EQ(log.find("video stream 0 (h264) is re-encoded"), std::string::npos) << log;
    EXPECT_EQ(packetCounts(destination()).at(0), 100);
}

TEST_F(FallBackTest, ARefusedTrackDoesNotCostTheOthersTheirCopy) {
    std::string bytes =
        contentOf(samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "libopus"}, 1));
    // The header of Opus under an unknown name: no MP4 can be started without it.
    bytes[bytes.rfind("\x63\xA2", bytes.find("OpusHead")) + 1] = '\xA3';
    const std::string log = expectSuccess(put("headless.mkv", bytes));
    EXPECT_NE(log.find("cannot be stored as it is"), std::string::npos) << log;
    EXPECT_EQ(log.find("video stream 0 (h264) is re-encoded"), std::string::npos) << log;
    EXPECT_EQ(probe(destination(), "stream=codec_name"), (Words{"h264", "aac"}));
}

TEST_F(FallBackTest, OneBadAdtsHeaderCostsOnePacket) {
    const std::string base = samples::make("aac", {"-vn", "-c:a", "aac"});
    const int packets = packetCounts(base).at(0);
    std::string bytes = contentOf(base);
    // The header states the frame's length, which leads to the next frame.
    std::size_t at = 0;
    for (int frame = 0; frame < packets / 2; ++frame) {
        const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(bytes[at + index]); };
        at += (byte(3) & 3U) << 11U | static_cast<unsigned>(byte(4) << 3U) | byte(5) >> 5U;
    }
    for (const auto& [name, index, value] :
         {std::tuple{"rate", 2, '\x7C'}, std::tuple{"channels", 3, '\xC0'}, std::tuple{"profile", 2, '\xCC'}}) {
        std::string damaged = bytes;
        char& byte = damaged[at + static_cast<std::size_t>(index)];
        // The other bits of the byte stay.
        byte = static_cast<char>(index == 3 ? (byte & 0x3F) | (value & 0xC0) : value);
        fs::remove(destination());
        const std::string title = name;
        expectSuccess(put(title + ".aac", damaged), {title + " (damaged).aac"});
        const int found = packetCounts(destination()).at(0);
        EXPECT_GE(found, packets - 2) << name;
        EXPECT_LT(found, packets) << name;
        EXPECT_EQ(probe(destination(), "stream=codec_name,sample_rate,channels"), Words{"aac,48000,1"}) << name;
        fs::remove(folder_.file(title + ".aac"));
        fs::remove(folder_.file(title + " (damaged).aac"));
    }
}

/// Writes a sample into the middle of uncompressed audio.
template<typename Sample>
std::string withSample(std::string bytes, Sample sample) {
    const std::size_t middle = bytes.size() / 2 / sizeof sample * sizeof sample + (bytes.size() % sizeof sample);
    std::memcpy(&bytes[middle], &sample, sizeof sample);
    return bytes;
}

TEST_F(FallBackTest, SamplesThatAreNoNumbersBecomeSilence) {
    using Floats = std::numeric_limits<float>;
    using Doubles = std::numeric_limits<double>;
    const std::string base32 = contentOf(samples::make("wav", {"-vn", "-c:a", "pcm_f32le"}));
    const std::string base64 = contentOf(samples::make("wav", {"-vn", "-c:a", "pcm_f64le"}));
    expectSuccess(put("healthy.wav", base32));
    const auto packets = packetCounts(destination());
    const auto heard = heardFromTheMiddle(destination());
    const std::vector<std::pair<std::string, std::string>> recordings = {
        {"nan", withSample(base32, Floats::quiet_NaN())},
        {"infinite", withSample(base32, -Floats::infinity())},
        {"loud", withSample(base32, 1e30F)},
        {"nan64", withSample(base64, Doubles::quiet_NaN())},
        {"infinite64", withSample(base64, Doubles::infinity())},
    };
    for (const auto& [name, bytes] : recordings) {
        fs::remove(destination());
        expectSuccess(put(name + ".wav", bytes), {name + " (damaged).wav"});
        EXPECT_NEAR(std::stod(probe(destination(), "format=duration").at(0)), 3, 0.001) << name;
        EXPECT_EQ(packetCounts(destination()), packets) << name << ": a whole frame was left out";
        // If the encoder refuses a frame, all later frames move up by one.
        const auto found = heardFromTheMiddle(destination());
        ASSERT_EQ(found.size(), heard.size()) << name;
        for (std::size_t index = 0; index < heard.size(); ++index) {
            ASSERT_NEAR(found[index], heard[index], 400) << name << " at sample " << index;
        }
        expectPlays(destination());
    }
}

TEST_F(FallBackTest, SamplesTooSmallToBeHeardAreNoDamage) {
    const std::string base = contentOf(samples::make("wav", {"-vn", "-c:a", "pcm_f32le"}));
    expectSuccess(put("small.wav", withSample(base, std::numeric_limits<float>::denorm_min())));
}

TEST_F(FallBackTest, OpusWithoutItsHeaderIsReencoded) {
    const std::string source = samples::make("caf", {"-vn", "-c:a", "libopus"});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=codec_name").size(), 1U);
    EXPECT_NEAR(std::stod(probe(destination(), "format=duration").at(0)), 3, 0.1);
    EXPECT_NEAR(frequencyAt(destination(), "2"), 440, 10);
}

}  // namespace
