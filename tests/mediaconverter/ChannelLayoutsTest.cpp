#include "mediaconverter/FaultTest.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <numbers>

// Re-encoded audio: every channel keeps its meaning, every rate and sample format its pitch.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

class ChannelLayoutsTest : public FaultTest {
protected:
    static int frequencyOf(int channel) { return 300 + 100 * channel; }

    /// The frequency of the channel's tone in the result, in Hz, from its zero crossings.
    static double frequencyIn(const std::string& path, int channel) {
        return toneIn(path, {}, {"-af", "pan=mono|c0=c" + std::to_string(channel)});
    }

    /// Half a second with a different tone on every channel, as uncompressed samples.
    std::string tones(int channels) {
        constexpr int rate = 48000;
        std::string bytes;
        for (int sample = 0; sample < rate / 2; ++sample) {
            for (int channel = 0; channel < channels; ++channel) {
                const auto value = static_cast<std::int16_t>(
                    8000 * std::sin(2 * std::numbers::pi * frequencyOf(channel) * sample / rate));
                bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
            }
        }
        return put("tones", bytes);
    }

    static Words streamOf(const std::string& path) {
        return probe(path, "stream=codec_name,sample_rate,channels,channel_layout");
    }
};

struct Layout {
    const char* name;
    const char* layout;
    int channels;
    int lowFrequencies;  ///< index of that channel, which AAC filters; -1 if there is none
};

class LayoutTest : public ChannelLayoutsTest, public testing::WithParamInterface<Layout> {};

TEST_P(LayoutTest, StaysAndEveryChannelStaysInItsPlace) {
    const int channels = GetParam().channels;
    const std::string source =
        ffmpeg({"-f", "s16le", "-ar", "48000", "-channel_layout", GetParam().layout, "-ac", std::to_string(channels),
                "-i", tones(channels), "-c:a", "pcm_s16le", "layout.wav"});
    const std::string wanted = "48000," + std::to_string(channels) + "," + GetParam().layout;
    ASSERT_EQ(streamOf(source).at(0), "pcm_s16le," + wanted);
    expectSuccess(source);
    const std::string found = streamOf(destination()).at(0);
    EXPECT_EQ(found.substr(found.find(',') + 1), wanted);
    for (int channel = 0; channel < channels; ++channel) {
        if (channel != GetParam().lowFrequencies) {
            EXPECT_NEAR(frequencyIn(destination(), channel), frequencyOf(channel), 20) << "channel " << channel;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, LayoutTest,
                         testing::Values(Layout{"2point1", "2.1", 3, 2}, Layout{"3point1", "3.1", 4, -1},
                                         Layout{"Quad", "quad", 4, -1}, Layout{"4point1", "4.1", 5, -1},
                                         Layout{"5point0", "5.0", 5, -1}, Layout{"5point0Side", "5.0(side)", 5, -1},
                                         Layout{"5point1", "5.1", 6, 3}, Layout{"5point1Side", "5.1(side)", 6, -1},
                                         Layout{"6point0", "6.0", 6, -1}, Layout{"6point1", "6.1", 7, -1},
                                         Layout{"6point1Front", "6.1(front)", 7, -1}, Layout{"7point0", "7.0", 7, -1},
                                         Layout{"7point1", "7.1", 8, 3}, Layout{"7point1Wide", "7.1(wide)", 8, -1},
                                         Layout{"Octagonal", "octagonal", 8, -1}),
                         [](const auto& test) { return std::string(test.param.name); });

class ManyChannelsTest : public ChannelLayoutsTest, public testing::WithParamInterface<int> {};

TEST_P(ManyChannelsTest, AreAllThereInTheirOrder) {
    const int channels = GetParam();
    const std::string source = ffmpeg({"-f", "s16le", "-ar", "48000", "-ac", std::to_string(channels), "-i",
                                       tones(channels), "-c:a", "pcm_s16le", "many.wav"});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=channels"), Words{std::to_string(channels)});
    for (const int channel : {0, channels / 2, channels - 1}) {
        EXPECT_NEAR(frequencyIn(destination(), channel), frequencyOf(channel), 20) << "channel " << channel;
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, ManyChannelsTest, testing::Values(9, 10, 12, 16, 24),
                         [](const auto& test) { return std::to_string(test.param); });

TEST_F(ChannelLayoutsTest, CopiedFlacKeepsItsLayout) {
    const std::string source = ffmpeg({"-f", "s16le", "-ar", "48000", "-channel_layout", "5.1", "-ac", "6", "-i",
                                       tones(6), "-c:a", "flac", "copied.mka"});
    expectSuccess(source);
    EXPECT_EQ(streamOf(destination()), Words{"flac,48000,6,5.1"});
    EXPECT_EQ(packetHashes(destination()), packetHashes(source));
}

TEST_F(ChannelLayoutsTest, RatesAreKeptOrBecomeTheNextHigherOne) {
    for (const auto& [rate, wanted] :
         {std::pair{"192000", "flac,192000"}, std::pair{"176400", "flac,176400"}, std::pair{"96000", "aac,96000"},
          std::pair{"37800", "aac,44100"}, std::pair{"11025", "aac,11025"}, std::pair{"6000", "aac,7350"}}) {
        const std::string source = ffmpeg({"-f", "lavfi", "-i", std::string("sine=frequency=440:sample_rate=") + rate,
                                           "-t", "0.5", "-c:a", "pcm_s16le", "rate.wav"});
        fs::remove(destination());
        expectSuccess(source);
        EXPECT_EQ(probe(destination(), "stream=codec_name,sample_rate"), Words{wanted});
        EXPECT_NEAR(frequencyIn(destination(), 0), 440, 20) << rate;
    }
}

TEST_F(ChannelLayoutsTest, FlacKeepsAllBitsOfTheSamples) {
    const std::string source =
        ffmpeg({"-f", "lavfi", "-i", "sine=sample_rate=192000:duration=0.2", "-c:a", "pcm_s24le", "deep.wav"});
    expectSuccess(source);
    EXPECT_EQ(probe(destination(), "stream=codec_name,sample_rate,bits_per_raw_sample"), Words{"flac,192000,24"});
}

TEST_F(ChannelLayoutsTest, EveryFormatOfSamplesIsRead) {
    for (const auto& [codec, extension] :
         {std::pair{"pcm_u8", "wav"}, std::pair{"pcm_s16be", "aiff"}, std::pair{"pcm_s24le", "wav"},
          std::pair{"pcm_s32le", "wav"}, std::pair{"pcm_f32le", "wav"}, std::pair{"pcm_f64le", "mkv"},
          std::pair{"pcm_alaw", "wav"}, std::pair{"pcm_mulaw", "mov"}, std::pair{"pcm_s64le", "nut"},
          std::pair{"pcm_s16le_planar", "nut"}, std::pair{"pcm_s16be", "mov"}}) {
        const std::string source = ffmpeg({"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000", "-t", "0.5",
                                           "-c:a", codec, std::string("format.") + extension});
        fs::remove(destination());
        // NUT is not accounted for, so every NUT recording keeps a second name.
        const std::string second = folder_.file("format (damaged).nut");
        expectSuccess(source, std::string(extension) == "nut" ? Words{"format (damaged).nut"} : Words{});
        EXPECT_NEAR(frequencyIn(destination(), 0), 440, 20) << codec;
        EXPECT_NEAR(std::stod(probe(destination(), "format=duration").at(0)), 0.5, 0.05) << codec;
        fs::remove(second);
    }
}

TEST_F(ChannelLayoutsTest, APauseOfThirteenHoursStaysOne) {
    // 2^31 samples of 48 kHz are 12.4 hours.
    const std::string source = ffmpeg({"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000:duration=2", "-af",
                                       "asetpts='PTS+gte(T,1)*13*3600/TB'", "-c:a", "pcm_s16le", "pause.mkv"});
    expectSuccess(source);
    EXPECT_NEAR(std::stod(probe(destination(), "format=duration").at(0)), 13 * 3600 + 2, 0.2);
    EXPECT_LT(fs::file_size(destination()), 1U << 20U);
    const std::string after = outputOf({"ffprobe", "-v", "error", "-read_intervals", "46801", "-show_entries",
                                        "packet=pts_time", "-of", "csv=p=0", destination()});
    EXPECT_GT(linesOf(after).size(), 40U);
}

TEST_F(ChannelLayoutsTest, APauseOfSecondsBecomesSilence) {
    const std::string source = ffmpeg({"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000:duration=2", "-af",
                                       "asetpts='PTS+gte(T,1)*5/TB'", "-c:a", "pcm_s16le", "short.mkv"});
    expectSuccess(source);
    EXPECT_NEAR(std::stod(probe(destination(), "format=duration").at(0)), 7, 0.1);
    EXPECT_GT(packetCounts(destination()).at(0), 7 * 48000 / 1024 - 2);
}

}  // namespace
