#include "mediaconverter/AccountingTest.h"

// A recording from which something is missing, or to which something was added, keeps a second name.

namespace {

using namespace mediatest;

/// Containers whose structure reveals every loss, in recordings of one second and of twenty.
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

/// Containers in which a second recording is noticed; one in a program stream without an end code is converted with the
/// first.
class AppendedRecordingTest : public LossTest {};

TEST_P(AppendedRecordingTest, IsNoticed) {
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
                                          {"TransportStream", "ts", h264Aac},
                                          {"Flv", "flv", h264Aac},
                                          {"Avi", "avi", {"-c:v", "mpeg4", "-c:a", "libmp3lame"}},
                                          {"OggTheora", "ogv", {"-c:v", "libtheora", "-c:a", "libvorbis"}}};

INSTANTIATE_TEST_SUITE_P(Containers, LossTest, testing::ValuesIn(accounted), nameOf);

INSTANTIATE_TEST_SUITE_P(Containers, AppendedRecordingTest, testing::ValuesIn(accounted), nameOf);

INSTANTIATE_TEST_SUITE_P(ProgramStream, LossTest,
                         testing::Values(Container{"ProgramStream", "mpg", {"-c:v", "mpeg2video", "-c:a", "ac3"}}),
                         nameOf);

/// Audio without a container from whose middle something is missing.
class RawAudioLossTest : public AccountingTest, public testing::WithParamInterface<Container> {};

TEST_P(RawAudioLossTest, HolesNoiseAndMissingBytesAreNoticed) {
    for (const double seconds : {1.0, 20.0}) {
        SCOPED_TRACE(seconds);
        const std::string bytes = contentOf(samples::make(GetParam().extension, GetParam().options, seconds));
        const std::size_t at = bytes.size() / 2;
        const std::size_t length = bytes.size() / 8;
        expectDamaged(std::string(bytes).replace(at, length, length, '\0'));
        expectDamaged(std::string(bytes).replace(at, length, noise(length)));
        expectDamaged(std::string(bytes).erase(at, 1000));
    }
}

INSTANTIATE_TEST_SUITE_P(Containers, RawAudioLossTest,
                         testing::Values(Container{"Mp3", "mp3", {"-vn", "-c:a", "libmp3lame"}},
                                         Container{"Ac3", "ac3", {"-vn", "-c:a", "ac3"}},
                                         Container{"Flac", "flac", {"-vn", "-c:a", "flac"}}),
                         nameOf);

}  // namespace
