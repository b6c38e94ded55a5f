#include "mediaconverter/LanesTest.h"

#include "mediaconverter/worker/reading/SourceReader.h"
#include "mediaconverter/worker/structure/MatroskaPackets.h"

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

// Recordings whose payload stays where it is become the same MP4, but for the places of the packets, as when each
// packet is copied; and recordings whose payload cannot stay are copied.

namespace {

using namespace mediatest;

const Words h264 = {"-c:v", "libx264", "-preset", "veryfast", "-g", "25"};
const Words h264WithAac = plus(h264, {"-c:a", "aac"});

struct Kind {
    const char* name;
    const char* extension;
    Words options;
    double seconds = 6;
};

std::string nameOf(const testing::TestParamInfo<Kind>& test) {
    return test.param.name;
}

class SharedRecordingTest : public testing::TestWithParam<Kind> {};

TEST_P(SharedRecordingTest, BecomesTheSameMp4AsIfEachPacketWereCopied) {
    expectSameInBothLanes(samples::make(GetParam().extension, GetParam().options, GetParam().seconds));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SharedRecordingTest,
    testing::Values(
        Kind{"Usual", "mkv", h264WithAac},
        Kind{"Live", "mkv", plus(h264WithAac, {"-live", "1", "-cluster_time_limit", "500"})},
        Kind{"WithoutReorderedFrames", "mkv", plus(h264WithAac, {"-tune", "zerolatency"})},
        Kind{"DeeplyReordered", "mkv", plus(h264WithAac, {"-bf", "8", "-x264-params", "b-pyramid=normal"})},
        Kind{"OpenGroups", "mkv", plus(h264WithAac, {"-x264-params", "open-gop=1"})},
        Kind{"RefreshedGradually", "mkv", plus(h264WithAac, {"-x264-params", "intra-refresh=1"})},
        Kind{"Hevc", "mkv", {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=0", "-c:a", "aac"}},
        Kind{"Opus", "mkv", plus(h264, {"-c:a", "libopus"})},
        Kind{"OpusOfSixtyMilliseconds", "mkv", plus(h264, {"-c:a", "libopus", "-frame_duration", "60"})},
        Kind{"AudioAlone", "mka", {"-vn", "-c:a", "aac"}}, Kind{"VideoAlone", "mkv", plus(h264, {"-an"})},
        Kind{"Shorter", "mkv", h264WithAac, 0.3}, Kind{"OddRate", "mkv", plus(h264WithAac, {"-r", "60000/1001"})},
        Kind{"OffsetOfHours", "mkv", plus(h264WithAac, {"-output_ts_offset", "30000"})},
        Kind{"Titled", "mkv",
             plus(h264WithAac,
                  {"-metadata", "title=A talk", "-metadata:s:a:0", "language=deu", "-metadata:s:a:0", "title=Ton"})}),
    nameOf);

class LanesTest : public FaultTest {
protected:
    /// Expects the packets to be copied one by one, with the same result as if nothing else had been tried, and a
    /// reason that has these words.
    static void expectCopied(const std::string& source, const std::string& why) {
        const Conversion tried = convertHere(source, false);
        EXPECT_FALSE(tried.isShared);
        EXPECT_TRUE(std::ranges::any_of(tried.notes, [&](const std::string& note) {
            return note.find("copied one by one: ") != std::string::npos && note.find(why) != std::string::npos;
        })) << (tried.notes.empty() ? "no notes" : tried.notes.front());
        EXPECT_EQ(descriptionOf(tried.mp4), descriptionOf(convertHere(source, true).mp4));
    }

    static std::string usual() { return samples::make("mkv", h264WithAac, 6); }

    /// A recording with an attachment of `length` bytes.
    std::string withAttachment(std::size_t length) {
        const std::string attached = put("a.bin", std::string(length, 'A'));
        return ffmpeg({"-i", usual(), "-map", "0", "-c", "copy", "-attach", attached, "-metadata:s:t",
                       "mimetype=application/octet-stream", "attached.mkv"});
    }
};

TEST_F(LanesTest, ChaptersAndTheirTitlesComeAlong) {
    const std::string chapters = put("chapters", ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=2000\n"
                                                 "title=One\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=2000\nEND=6000\n"
                                                 "title=Two\n");
    expectSameInBothLanes(ffmpeg({"-i", usual(), "-f", "ffmetadata", "-i", chapters, "-map", "0", "-map_chapters", "1",
                                  "-c", "copy", "chapters.mkv"}));
}

TEST_F(LanesTest, ATrackThatStartsLaterStaysLater) {
    expectSameInBothLanes(ffmpeg(
        {"-i", usual(), "-itsoffset", "0.4", "-i", usual(), "-map", "0:v", "-map", "1:a", "-c", "copy", "late.mkv"}));
}

TEST_F(LanesTest, APauseOfAllTracksStays) {
    expectSameInBothLanes(ffmpeg({"-i", usual(), "-c", "copy", "-bsf:v",
                                  "setts=pts=PTS+gte(PTS\\,4000)*3000:dts=DTS+gte(DTS\\,4000)*3000", "-bsf:a",
                                  "setts=pts=PTS+gte(PTS\\,4000)*3000:dts=DTS+gte(DTS\\,4000)*3000", "gap.mkv"}));
}

TEST_F(LanesTest, SeveralTracksOfAudioComeAlong) {
    expectSameInBothLanes(
        ffmpeg({"-i", usual(), "-map", "0:v", "-map", "0:a", "-map", "0:a", "-c", "copy", "two.mkv"}));
}

TEST_F(LanesTest, ACoverComesAlong) {
    const std::string picture = ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=64x64", "-frames:v", "1", "cover.jpg"});
    expectSameInBothLanes(ffmpeg({"-i", usual(), "-map", "0", "-c", "copy", "-attach", picture, "-metadata:s:t",
                                  "mimetype=image/jpeg", "-metadata:s:t", "filename=cover.jpg", "cover.mkv"}));
}

TEST_F(LanesTest, NothingOfAnAttachmentStaysInside) {
    const std::string source = withAttachment(1000);
    expectSameInBothLanes(source);
    const std::string attached(1000, 'A');
    ASSERT_NE(contentOf(source).find(attached), std::string::npos);
    EXPECT_EQ(convertHere(source, false).mp4.find(std::string(20, 'A')), std::string::npos);
}

TEST_F(LanesTest, ALargeAttachmentIsNotOverwrittenButLeftBehind) {
    const std::string source = withAttachment(1'000'000);
    expectCopied(source, "too much of it is left out");
    EXPECT_EQ(convertHere(source, false).mp4.find(std::string(20, 'A')), std::string::npos);
}

TEST_F(LanesTest, DamagedRecordingsAreCopied) {
    const std::string bytes = contentOf(usual());
    const auto middle = bytes.size() / 2;
    expectCopied(put("noise.mkv", std::string(bytes).replace(middle, 30'000, std::string(30'000, '\x5A'))), "");
    expectCopied(put("cut.mkv", bytes.substr(0, middle)), "");
    expectCopied(put("tail.mkv", bytes + std::string(5000, '\0')), "no segment up to the end");
}

TEST_F(LanesTest, ARecordingWithAHoleInsideAPacketIsCopied) {
    const std::string source = usual();
    std::string bytes = contentOf(source);
    const int file = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    const worker::SourceReader reader(file);
    worker::MatroskaPackets packets(reader);
    worker::StructuredPacket largest;
    for (worker::StructuredPacket packet; packets.next(packet);) {
        largest = packet.size > largest.size ? packet : largest;
    }
    ::close(file);
    ASSERT_GT(largest.size, 2000);
    bytes.replace(static_cast<std::size_t>(largest.position) + 1000, 600, std::string(600, '\0'));
    expectCopied(put("hole.mkv", bytes), "holes or noise");
}

TEST_F(LanesTest, OtherCodecsAreCopiedOrReencoded) {
    const Conversion reencoded = convertHere(samples::make("mkv", plus(h264, {"-c:a", "pcm_s16le"})), false);
    EXPECT_FALSE(reencoded.isShared);
    ASSERT_EQ(reencoded.notes.size(), 1U);
    EXPECT_NE(reencoded.notes.front().find(" is re-encoded"), std::string::npos) << "which says enough";
    expectCopied(samples::make("mkv", plus(h264, {"-c:a", "flac"})), "may not be stored as it is");
    expectCopied(samples::make("mkv", {"-c:v", "mpeg4", "-c:a", "aac"}), "may not be stored as it is");
}

TEST_F(LanesTest, ATrackThatAppearsLateIsCopied) {
    expectCopied(ffmpeg({"-i", samples::make("mkv", h264WithAac, 60), "-itsoffset", "50", "-i", usual(), "-map", "0:v",
                         "-map", "0:a", "-map", "1:a", "-c", "copy", "-t", "60", "later.mkv"}),
                 "cannot be predicted");
}

}  // namespace
