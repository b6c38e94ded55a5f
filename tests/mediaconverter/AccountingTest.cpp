#include "mediaconverter/FaultTest.h"

#include <algorithm>
#include <filesystem>
#include <random>

// Every byte of a recording is in the MP4, structure, left out on purpose, or lost; and where some are lost, the
// recording keeps a second name.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

struct Container {
    const char* name;
    const char* extension;
    Words options;
};

std::ostream& operator<<(std::ostream& out, const Container& container) {
    return out << container.name;
}

std::string nameOf(const testing::TestParamInfo<Container>& info) {
    return info.param.name;
}

Words plus(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

const Words h264Aac = {"-c:v", "libx264", "-preset", "ultrafast", "-g", "25", "-c:a", "aac"};

class AccountingTest : public FaultTest {
protected:
    static std::string noise(std::size_t length) {
        std::mt19937 random(7);
        std::string bytes(length, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
        return bytes;
    }

    /// Converts the bytes and wants a second name for them. The log.
    static std::string expectDamaged(const std::string& bytes) {
        return expectNames(bytes, {"out.mp4", "talk (damaged).rec", "talk.rec"});
    }

    /// Converts the bytes and wants no second name. The log.
    static std::string expectWhole(const std::string& bytes) { return expectNames(bytes, {"out.mp4", "talk.rec"}); }

private:
    static std::string expectNames(const std::string& bytes, const Words& names) {
        const TemporaryFolder folder;
        writeFile(folder.file("talk.rec"), bytes);
        RecordingSink sink;
        testing::internal::CaptureStderr();
        convert(folder.file("talk.rec"), folder.file("out.mp4"), sink);
        std::string log = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(sink.isSuccess()) << log;
        EXPECT_EQ(folder.names(), names) << log;
        return log;
    }
};

class HealthyRecordingTest : public AccountingTest, public testing::WithParamInterface<Container> {};

TEST_P(HealthyRecordingTest, IsAccountedForByteByByte) {
    expectWhole(contentOf(samples::make(GetParam().extension, GetParam().options)));
}

const Words fragmented = plus(h264Aac, {"-movflags", "frag_keyframe+empty_moov"});

const std::vector<Container> healthy = {
    {"Matroska", "mkv", h264Aac},
    {"MatroskaOfSmallClusters", "mkv", plus(h264Aac, {"-cluster_size_limit", "4096"})},
    {"MatroskaLive", "mkv", plus(h264Aac, {"-live", "1"})},
    {"MatroskaWithItsIndexInFront", "mkv", plus(h264Aac, {"-cues_to_front", "1", "-reserve_index_space", "4096"})},
    {"MatroskaWithoutChecksums", "mkv", plus(h264Aac, {"-write_crc32", "0", "-fflags", "+bitexact"})},
    {"MatroskaWavPack", "mkv", {"-vn", "-c:a", "wavpack"}},
    {"MatroskaMp3", "mka", {"-vn", "-c:a", "libmp3lame"}},
    {"MatroskaPcm", "mkv", {"-c:v", "mjpeg", "-c:a", "pcm_s16le"}},
    {"MatroskaMpeg4Ac3", "mkv", {"-c:v", "mpeg4", "-bf", "2", "-c:a", "ac3"}},
    {"WebmVp9", "webm", {"-c:v", "libvpx-vp9", "-cpu-used", "8", "-deadline", "realtime", "-c:a", "libopus"}},
    {"WebmVp8", "webm", {"-c:v", "libvpx", "-deadline", "realtime", "-c:a", "libvorbis"}},
    {"Mp4", "mp4", h264Aac},
    {"Mp4WithItsIndexInFront", "mp4", plus(h264Aac, {"-movflags", "+faststart"})},
    {"Mp4WithHints", "mp4", plus(h264Aac, {"-movflags", "+rtphint"})},
    {"Mp4Mpeg4Mp3", "mp4", {"-c:v", "mpeg4", "-c:a", "libmp3lame"}},
    {"FragmentedMp4", "mp4", fragmented},
    {"FragmentedMp4OfDefaultBases", "mp4", plus(h264Aac, {"-movflags", "frag_keyframe+empty_moov+default_base_moof"})},
    {"FragmentedMp4AFrameEach", "mp4", plus(h264Aac, {"-movflags", "frag_every_frame+empty_moov+separate_moof"})},
    {"FragmentedMp4Dash", "mp4", plus(h264Aac, {"-movflags", "dash+frag_keyframe+empty_moov+global_sidx"})},
    {"FragmentedMp4OfDelayedIndex", "mp4", plus(h264Aac, {"-movflags", "delay_moov+frag_keyframe"})},
    {"Mov", "mov", h264Aac},
    {"MovPcm", "mov", {"-c:v", "mjpeg", "-c:a", "pcm_s24le"}},
    {"MovWithTimecode", "mov", plus(h264Aac, {"-timecode", "01:00:00:00"})},
    {"M4a", "m4a", {"-vn", "-c:a", "aac"}},
    {"TransportStream", "ts", h264Aac},
    {"TransportStreamOfBluRay", "m2ts", plus(h264Aac, {"-mpegts_m2ts_mode", "1"})},
    {"TransportStreamOfConstantRate", "ts", plus(h264Aac, {"-muxrate", "6M"})},
    {"TransportStreamMpeg2Ac3", "ts", {"-c:v", "mpeg2video", "-c:a", "ac3"}},
    {"TransportStreamOpus", "ts", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "libopus"}},
    {"Wav", "wav", {"-vn", "-c:a", "pcm_s16le"}},
    {"WavWithTexts", "wav", {"-vn", "-c:a", "pcm_s24le", "-write_bext", "1", "-metadata", "title=talk"}},
    {"WavOfBytes", "wav", {"-vn", "-c:a", "pcm_u8", "-ac", "1", "-ar", "11025", "-t", "1.0001"}},
    {"WavAdpcm", "wav", {"-vn", "-c:a", "adpcm_ms"}},
    {"WavMp3", "wav", {"-vn", "-c:a", "libmp3lame"}},
    {"Rf64", "wav", {"-vn", "-c:a", "pcm_s16le", "-rf64", "always"}},
    {"Wave64", "w64", {"-vn", "-c:a", "pcm_s16le"}},
    {"Aiff", "aiff", {"-vn", "-c:a", "pcm_s24be", "-ac", "2"}},
    {"Caf", "caf", {"-vn", "-c:a", "pcm_s16le"}},
    {"CafAlac", "caf", {"-vn", "-c:a", "alac"}},
    {"Au", "au", {"-vn", "-c:a", "pcm_s16be"}},
};

INSTANTIATE_TEST_SUITE_P(Containers, HealthyRecordingTest, testing::ValuesIn(healthy), nameOf);

/// Containers whose structure tells of every loss, in recordings of one second and of twenty.
class LossTest : public AccountingTest, public testing::WithParamInterface<Container> {
protected:
    template<typename Damage>
    void expectDamagedWith(Damage damage) {
        for (const double seconds : {1.0, 20.0}) {
            SCOPED_TRACE(std::to_string(seconds) + " s");
            expectDamaged(damage(contentOf(samples::make(GetParam().extension, GetParam().options, seconds))));
        }
    }
};

TEST_P(LossTest, HolesOfZerosAreNoticed) {
    for (const double place : {0.4, 0.85}) {
        expectDamagedWith([place](std::string bytes) {
            const auto at = static_cast<std::ptrdiff_t>(place * static_cast<double>(bytes.size()));
            std::fill_n(bytes.begin() + at, 4096, '\0');
            return bytes;
        });
    }
}

TEST_P(LossTest, NoiseIsNoticed) {
    for (const double place : {0.4, 0.85}) {
        expectDamagedWith([place](std::string bytes) {
            const std::string random = noise(bytes.size() / 8);
            bytes.replace(static_cast<std::size_t>(place * static_cast<double>(bytes.size())), random.size(), random);
            return bytes;
        });
    }
}

TEST_P(LossTest, AnAppendedRecordingIsNoticed) {
    expectDamagedWith([](const std::string& bytes) { return bytes + bytes; });
}

TEST_P(LossTest, AppendedNoiseIsNoticed) {
    expectDamagedWith([](const std::string& bytes) { return bytes + noise(5000); });
}

TEST_P(LossTest, ATailOfZerosIsSaidAndIsNoLoss) {
    const std::string log =
        expectWhole(contentOf(samples::make(GetParam().extension, GetParam().options, 1)) + std::string(50'000, '\0'));
    EXPECT_NE(log.find("all zero"), std::string::npos) << log;
}

const std::vector<Container> accounted = {{"Matroska", "mkv", h264Aac},
                                          {"MatroskaLive", "mkv", plus(h264Aac, {"-live", "1"})},
                                          {"FragmentedMp4", "mp4", fragmented},
                                          {"Mp4", "mp4", h264Aac},
                                          {"Mov", "mov", h264Aac},
                                          {"TransportStream", "ts", h264Aac}};

INSTANTIATE_TEST_SUITE_P(Containers, LossTest, testing::ValuesIn(accounted), nameOf);

/// Containers that a killed recorder leaves readable.
class KilledRecorderTest : public AccountingTest, public testing::WithParamInterface<Container> {};

TEST_P(KilledRecorderTest, LeavesNoDamageButALastPacketThatIsSaidToBeCut) {
    const std::string bytes = contentOf(samples::make(GetParam().extension, GetParam().options));
    int said = 0;
    for (const double place : {0.3, 0.51, 0.77, 0.93, 0.97}) {
        SCOPED_TRACE(place);
        const std::string log =
            expectWhole(bytes.substr(0, static_cast<std::size_t>(place * static_cast<double>(bytes.size()))));
        said += log.find("ends in the middle") != std::string::npos || log.find("were to follow") != std::string::npos;
    }
    EXPECT_GE(said, 4);
}

const std::vector<Container> cuttable = {{"Matroska", "mkv", h264Aac},
                                         {"MatroskaLive", "mkv", plus(h264Aac, {"-live", "1"})},
                                         {"FragmentedMp4", "mp4", fragmented},
                                         {"TransportStream", "ts", h264Aac}};

INSTANTIATE_TEST_SUITE_P(Containers, KilledRecorderTest, testing::ValuesIn(cuttable), nameOf);

/// Wants a second name, and all but a few packets in the MP4.
class RescueTest : public AccountingTest {
protected:
    static void expectAllBut(int most, const std::string& whole, const std::string& damaged) {
        const TemporaryFolder folder;
        writeFile(folder.file("talk.rec"), damaged);
        RecordingSink sink;
        testing::internal::CaptureStderr();
        convert(folder.file("talk.rec"), folder.file("out.mp4"), sink);
        const std::string log = testing::internal::GetCapturedStderr();
        ASSERT_TRUE(sink.isSuccess()) << log;
        EXPECT_TRUE(fs::exists(folder.file("talk (damaged).rec"))) << log;
        const auto all = packetCounts(whole);
        const auto have = packetCounts(folder.file("out.mp4"));
        ASSERT_EQ(have.size(), all.size());
        for (std::size_t stream = 0; stream < all.size(); ++stream) {
            EXPECT_GE(have[stream], all[stream] - most) << "stream " << stream << "\n" << log;
        }
    }

    /// A block of the audio track whose size takes two bytes, from a third of the recording on.
    static std::size_t audioBlock(const std::string& bytes) {
        for (std::size_t at = bytes.size() / 3; (at = bytes.find('\xA3', at + 1)) < bytes.size() - 300;) {
            const auto size = static_cast<std::size_t>((bytes[at + 1] & 0x3F) << 8 | (bytes[at + 2] & 0xFF));
            if ((bytes[at + 1] & '\xC0') == '\x40' && bytes[at + 3] == '\x82' && bytes[at + 3 + size] == '\xA3') {
                return at;
            }
        }
        return std::string::npos;
    }
};

TEST_F(RescueTest, ABlockSizeThatRunsBeyondTheEndHidesNothingAfterIt) {
    const std::string whole = samples::make("mkv", h264Aac, 1);
    std::string bytes = contentOf(whole);
    const std::size_t block = audioBlock(bytes);
    ASSERT_NE(block, std::string::npos);
    bytes[block + 1] = '\x11';
    expectAllBut(1, whole, bytes);
}

TEST_F(RescueTest, ABlockOfAnUnknownTrackCostsItselfAlone) {
    const std::string whole = samples::make("mkv", h264Aac, 1);
    std::string bytes = contentOf(whole);
    const std::size_t block = audioBlock(bytes);
    ASSERT_NE(block, std::string::npos);
    bytes[block + 3] = '\x8B';
    expectAllBut(1, whole, bytes);
}

TEST_F(RescueTest, AHoleInAShortRecordingCostsWhatIsInTheHole) {
    const std::string whole = samples::make("mkv", h264Aac, 1);
    std::string bytes = contentOf(whole);
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(audioBlock(bytes)), 400, '\0');
    expectAllBut(4, whole, bytes);
}

/// Audio between chunks: where the size of the data stands, and how it is written.
struct StaleSize {
    const char* name;
    const char* extension;
    const char* codec;
    const char* chunk;
    std::size_t offset;  ///< from the name of the chunk to its size
    std::size_t width;
    bool isBigEndian;
};

class StaleSizeTest : public AccountingTest, public testing::WithParamInterface<StaleSize> {
protected:
    static std::string withSize(std::string bytes, std::uint64_t size) {
        const StaleSize& stale = GetParam();
        const std::size_t at = bytes.find(stale.chunk) + stale.offset;
        for (std::size_t index = 0; index < stale.width; ++index) {
            const std::size_t place = stale.isBigEndian ? stale.width - 1 - index : index;
            bytes[at + place] = static_cast<char>(size >> (8 * index));
        }
        return bytes;
    }

    void expectSixSeconds(const std::string& bytes) {
        const TemporaryFolder folder;
        writeFile(folder.file("talk.rec"), bytes);
        RecordingSink sink;
        convert(folder.file("talk.rec"), folder.file("out.mp4"), sink);
        ASSERT_TRUE(sink.isSuccess());
        EXPECT_NEAR(std::stod(probe(folder.file("out.mp4"), "format=duration").front()), 6, 0.05);
    }
};

TEST_P(StaleSizeTest, AllThatFollowsTheHeaderIsConverted) {
    const std::string bytes = contentOf(samples::make(GetParam().extension, {"-vn", "-c:a", GetParam().codec}, 6));
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{2048}, std::uint64_t{96000}, UINT64_MAX}) {
        SCOPED_TRACE(size);
        expectSixSeconds(withSize(bytes, size));
    }
}

TEST_P(StaleSizeTest, AnAppendedRecordingIsNoticed) {
    const std::string bytes = contentOf(samples::make(GetParam().extension, {"-vn", "-c:a", GetParam().codec}, 6));
    expectDamaged(bytes + bytes);
}

TEST_P(StaleSizeTest, AppendedNoiseIsNoticed) {
    expectDamaged(contentOf(samples::make(GetParam().extension, {"-vn", "-c:a", GetParam().codec}, 6)) + noise(5000));
}

TEST_P(StaleSizeTest, ARecordingThatIsCutIsWholeUpToThere) {
    std::string bytes = contentOf(samples::make(GetParam().extension, {"-vn", "-c:a", GetParam().codec}, 6));
    bytes.resize(bytes.size() - 1001);
    expectWhole(bytes);
}

INSTANTIATE_TEST_SUITE_P(Containers, StaleSizeTest,
                         testing::Values(StaleSize{"Wav", "wav", "pcm_s16le", "data", 4, 4, false},
                                         StaleSize{"WavOf24Bits", "wav", "pcm_s24le", "data", 4, 4, false},
                                         StaleSize{"Wave64", "w64", "pcm_s16le", "data", 16, 8, false},
                                         StaleSize{"Aiff", "aiff", "pcm_s16be", "SSND", 4, 4, true},
                                         StaleSize{"Caf", "caf", "pcm_s16be", "data", 4, 8, true}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(AccountingTest, ATransportStreamLosesNoWholePacketOfItsLastPiece) {
    const std::string bytes = contentOf(samples::make("ts", h264Aac));
    for (const double place : {0.35, 0.5, 0.62, 0.8, 0.95}) {
        const std::string source =
            put("cut.ts", bytes.substr(0, static_cast<std::size_t>(place * static_cast<double>(bytes.size()))));
        fs::remove(destination());
        expectSuccess(source);
        const auto have = packetCounts(destination());
        const auto all = packetCounts(source);
        ASSERT_EQ(have.size(), all.size());
        // The ffmpeg tools count a packet that is cut as one.
        EXPECT_GE(have[0], all[0] - 1) << place;
        EXPECT_GE(have[1], all[1] - 1) << place;
    }
}

TEST_F(AccountingTest, AnMp4WhoseEndIsMissingIsDamagedThoughItsIndexIsThere) {
    for (const double seconds : {1.0, 20.0}) {
        std::string bytes = contentOf(samples::make("mp4", plus(h264Aac, {"-movflags", "+faststart"}), seconds));
        bytes.resize(bytes.size() - 2000);
        expectDamaged(bytes);
    }
}

}  // namespace
