#include "mediaconverter/AccountingTest.h"

#include <filesystem>
#include <sys/resource.h>

// Data after damage is rescued, stale sizes hide nothing, and no file takes forever.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

/// Expects a second name, and all but a few packets in the MP4.
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

    /// Processor time, in seconds, of all child processes that have ended.
    static long secondsOfChildren() {
        rusage usage = {};
        ::getrusage(RUSAGE_CHILDREN, &usage);
        return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec;
    }

    /// A block of the audio track whose size takes two bytes, searched from a third of the recording on.
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
    std::vector<std::size_t> sizes;
    for (const Words& options : {h264Aac, plus(h264Aac, {"-s", "64x48"})}) {
        const std::string whole = samples::make("mkv", options, 1);
        std::string bytes = contentOf(whole);
        sizes.push_back(bytes.size() >> 10U);
        const std::size_t block = audioBlock(bytes);
        ASSERT_NE(block, std::string::npos);
        bytes[block + 1] = '\x11';
        expectAllBut(1, whole, bytes);
    }
    EXPECT_GT(sizes.front(), 64U);
    EXPECT_LT(sizes.back(), 64U);
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

TEST_F(RescueTest, AChunkOfAnUnknownStreamCostsItselfAlone) {
    const std::string whole = samples::make("avi", {"-c:v", "mpeg4", "-c:a", "libmp3lame"}, 1);
    std::string bytes = contentOf(whole);
    bytes[bytes.find("00dc", bytes.size() / 2)] = '7';
    expectAllBut(1, whole, bytes);
}

TEST_F(RescueTest, ASizeThatNoMemoryCouldHoldIsDamage) {
    const std::string whole = samples::make("ivf", {"-an", "-c:v", "libvpx", "-deadline", "realtime"}, 1);
    std::string bytes = contentOf(whole);
    constexpr std::size_t frameHeader = 12;
    constexpr int healthy = 10;
    std::size_t frame = 32;
    for (int count = 0; count < healthy; ++count) {
        const auto high = static_cast<unsigned char>(bytes[frame + 1]);
        frame += frameHeader + high * std::size_t{256} + static_cast<unsigned char>(bytes[frame]);
    }
    bytes.replace(frame, 4, 4, '\xFF');
    expectAllBut(packetCounts(whole).at(0) - healthy, whole, bytes);
}

/// Audio between chunks: where the size of the data is, and how it is written.
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
        // The ffmpeg tools count a truncated packet as one.
        EXPECT_GE(have[0], all[0] - 1) << place;
        EXPECT_GE(have[1], all[1] - 1) << place;
    }
}

TEST_F(RescueTest, FragmentsOfGuessedDurationsAreHealthy) {
    const std::string whole =
        samples::make("mp4", {"-c:v", "libx264", "-preset", "ultrafast", "-bf", "0", "-c:a", "aac", "-movflags",
                              "frag_every_frame+empty_moov+default_base_moof"});
    std::string bytes = contentOf(whole);
    // Every tenth claims twice its real duration.
    int number = 0;
    for (std::size_t at = 0; (at = bytes.find("tfhd", at + 4)) != std::string::npos;) {
        const std::size_t run = bytes.find("trun", at);
        const auto flags = static_cast<unsigned char>(bytes[run + 6]);
        const std::size_t duration = (bytes[at + 7] & 0x08) != 0 ? at + 12 : run + 16;
        if (++number % 10 == 0 && ((bytes[at + 7] & 0x08) != 0 || (flags & 1) != 0)) {
            bytes[duration + 2] = static_cast<char>(bytes[duration + 2] * 2);
        }
    }
    EXPECT_GT(number, 60);
    const std::string source = put("talk.mp4", bytes);
    expectSuccess(source);
    EXPECT_EQ(packetCounts(destination()), packetCounts(whole));
}

TEST_F(RescueTest, BoxesThatClaimTheWholeFileCostNoTime) {
    std::string bytes = contentOf(samples::make("mp4", plus(h264Aac, {"-movflags", "frag_keyframe+empty_moov"})));
    constexpr std::size_t claims = 500'000;
    for (std::size_t left = claims * 8; left > 0; left -= 8) {
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            bytes += static_cast<char>(left >> shift);
        }
        bytes += "moof";
    }
    const auto before = secondsOfChildren();
    expectDamaged(bytes);
    EXPECT_LT(secondsOfChildren() - before, 20);
}

}  // namespace
