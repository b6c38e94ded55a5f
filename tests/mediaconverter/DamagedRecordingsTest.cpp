#include "mediaconverter/AccountingTest.h"

#include <filesystem>

// Recordings that are cut or damaged: the intact part is saved.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

const Words reordered = {"-c:v", "libx264", "-preset", "veryfast", "-g", "25", "-c:a", "aac"};

/// One cut recording of each kind whose packets are complete up to the cut.
class CutRecordingTest : public AccountingTest, public testing::WithParamInterface<const char*> {
protected:
    static std::string whole() {
        const std::string kind = GetParam();
        if (kind == "FragmentedMp4") {
            return samples::make("mp4", plus(reordered, {"-movflags", "frag_keyframe+empty_moov"}));
        }
        if (kind == "WebM") {
            return samples::make("webm", {"-c:v", "libvpx-vp9", "-cpu-used", "8", "-deadline", "realtime", "-c:a",
                                          "libopus", "-cluster_time_limit", "500"});
        }
        return samples::make(kind == "Matroska" ? "mkv" : "ts", reordered);
    }
};

TEST_P(CutRecordingTest, EveryCompletePacketBeforeTheCutIsSaved) {
    const std::string bytes = contentOf(whole());
    int saved = 0;
    for (int percent = 5; percent < 100; percent += 5) {
        const std::string source =
            put("cut.rec", bytes.substr(0, bytes.size() * static_cast<std::size_t>(percent) / 100));
        fs::remove(destination());
        RecordingSink sink;
        testing::internal::CaptureStderr();
        convert(source, destination(), sink);
        const std::string log = testing::internal::GetCapturedStderr();
        if (!sink.isSuccess()) {
            // A cut before the first packets leaves nothing to save; the error must say exactly that.
            EXPECT_LE(percent, 25) << log;
            EXPECT_TRUE(sink.onlyError() == static_cast<int>(nothingRecorded) ||
                        sink.onlyError() == static_cast<int>(notARecording) ||
                        sink.onlyError() == static_cast<int>(codecUnknown))
                << log;
            continue;
        }
        ++saved;
        // The ffmpeg tools count a packet that was cut; ours contains complete ones only.
        const auto have = packetCounts(destination());
        const auto complete = packetCounts(source);
        for (std::size_t stream = 0; stream < have.size(); ++stream) {
            EXPECT_GE(have[stream], stream < complete.size() ? complete[stream] - 1 : 1) << percent << " %";
        }
        EXPECT_EQ(folder_.names(), (std::vector<std::string>{"cut.rec", "out.mp4"})) << "a cut end is no damage";
    }
    EXPECT_GE(saved, 15);
}

INSTANTIATE_TEST_SUITE_P(Kinds, CutRecordingTest,
                         testing::Values("Matroska", "WebM", "TransportStream", "FragmentedMp4"),
                         [](const auto& test) { return std::string(test.param); });

/// Audio without a container, frame after frame.
class CutFrameTest : public AccountingTest, public testing::WithParamInterface<Container> {};

TEST_P(CutFrameTest, IsLeftOutAndAllBeforeItAreSaved) {
    const std::string whole = samples::make(GetParam().extension, GetParam().options, 1);
    constexpr int frames = 20;
    const Words sizes = probe(whole, "packet=size");
    ASSERT_GT(sizes.size(), frames + 1U);
    std::size_t end = 0;
    for (int frame = 0; frame < frames; ++frame) {
        end += std::stoul(sizes[static_cast<std::size_t>(frame)]);
    }
    for (const std::size_t left : {std::size_t{12}, std::stoul(sizes[frames]) - 1}) {
        fs::remove(destination());
        const std::string log = expectSuccess(put("cut.rec", contentOf(whole).substr(0, end + left)));
        EXPECT_EQ(packetCounts(destination()), std::vector<int>{frames}) << left << " bytes more\n" << log;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, CutFrameTest,
    testing::Values(Container{"Adts", "aac", {"-vn", "-c:a", "aac"}}, Container{"Ac3", "ac3", {"-vn", "-c:a", "ac3"}},
                    Container{"Mp2", "mp2", {"-vn", "-c:a", "mp2"}},
                    Container{"Mp3", "mp3", {"-vn", "-c:a", "libmp3lame", "-write_xing", "0", "-id3v2_version", "0"}}),
    nameOf);

/// Containers that state the size of a frame.
class CutPictureTest : public AccountingTest, public testing::WithParamInterface<Container> {};

TEST_P(CutPictureTest, IsLeftOutAndAllBeforeItAreSaved) {
    const std::string whole = samples::make(GetParam().extension, GetParam().options, 1);
    const Words positions = probe(whole, "packet=pos");
    for (const std::size_t count : {5U, 18U}) {
        fs::remove(destination());
        // Twenty bytes before the next frame are within this one.
        const std::size_t end = std::stoul(positions.at(count + 1)) - 20;
        const std::string log = expectSuccess(put("cut.rec", contentOf(whole).substr(0, end)));
        EXPECT_EQ(packetCounts(destination()), std::vector{static_cast<int>(count)}) << log;
    }
}

INSTANTIATE_TEST_SUITE_P(Containers, CutPictureTest,
                         testing::Values(Container{"Flv", "flv", {"-an", "-c:v", "libx264", "-preset", "ultrafast"}},
                                         Container{"Avi", "avi", {"-an", "-c:v", "mpeg4"}},
                                         Container{
                                             "Matroska", "mkv", {"-an", "-c:v", "libx264", "-preset", "ultrafast"}}),
                         nameOf);

TEST_F(AccountingTest, ATagBetweenTheFramesOfAdtsIsStructure) {
    const std::string whole = samples::make("aac", {"-vn", "-c:a", "aac"}, 1);
    std::string bytes = contentOf(whole);
    std::size_t middle = 0;
    for (const std::string& size : probe(whole, "packet=size")) {
        middle += middle < bytes.size() / 2 ? std::stoul(size) : 0;
    }
    // An ID3v2.4 tag of twenty bytes after its header.
    bytes.insert(middle, std::string("ID3\x04\0\0\0\0\0\x14", 10) + std::string(20, 'x'));
    expectSuccess(put("tagged.rec", bytes));
    EXPECT_EQ(packetCounts(destination()), packetCounts(whole));
}

TEST_F(AccountingTest, ATransportStreamThatStartsInMidPictureGroupIsConverted) {
    const std::string bytes = contentOf(samples::make("ts", reordered));
    const std::string source = put("a.ts", bytes.substr(bytes.size() / 188 / 5 * 188 + 77));
    expectSuccess(source);
    EXPECT_GT(packetCounts(destination()).at(0), 40);
}

/// Recordings whose middle cannot be read.
class DamagedRecordingTest : public AccountingTest, public testing::WithParamInterface<const char*> {
protected:
    static std::string whole() {
        const std::string kind = GetParam();
        const std::vector<std::string> codecs = {"-c:v", "libx264", "-preset", "ultrafast",           "-g",
                                                 "25",   "-c:a",    "aac",     "-cluster_time_limit", "500"};
        if (kind == "FragmentedMp4") {
            return samples::make("mp4",
                                 {"-c:v", "libx264", "-preset", "ultrafast", "-g", "12", "-c:a", "aac", "-movflags",
                                  "frag_keyframe+empty_moov"},
                                 20);
        }
        return samples::make(kind == "Matroska" ? "mkv" : kind == "Flv" ? "flv" : "ts", codecs, 20);
    }

    void expectMostIsSaved(const std::string& damaged) {
        const std::string source = put("talk.rec", damaged);
        const std::string log = expectSuccess(source, {"talk (damaged).rec"});
        EXPECT_NE(log.find("could not be read"), std::string::npos) << log;
        EXPECT_NE(log.find("talk (damaged).rec"), std::string::npos) << log;
        EXPECT_EQ(contentOf(folder_.file("talk (damaged).rec")), damaged);
        const auto have = packetCounts(destination());
        const auto all = packetCounts(whole());
        ASSERT_EQ(have.size(), all.size());
        for (std::size_t stream = 0; stream < have.size(); ++stream) {
            EXPECT_GT(have[stream], all[stream] * 6 / 10) << stream;
        }
    }
};

TEST_P(DamagedRecordingTest, AHoleInTheMiddleIsPassedOver) {
    std::string bytes = contentOf(whole());
    const std::size_t length = bytes.size() / 8;
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), length, '\0');
    expectMostIsSaved(bytes);
}

TEST_P(DamagedRecordingTest, RandomBytesInTheMiddleArePassedOver) {
    std::string bytes = contentOf(whole());
    const std::string random = noise(bytes.size() / 8);
    bytes.replace(bytes.size() / 2, random.size(), random);
    expectMostIsSaved(bytes);
}

TEST_P(DamagedRecordingTest, DamageInWhatIsReadToMakeOutTheStreamsIsNoticed) {
    std::string bytes = contentOf(whole());
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 25), bytes.size() / 50, '\0');
    expectMostIsSaved(bytes);
}

TEST_P(DamagedRecordingTest, OneFlippedBitBesideAPacketCostsLittleAndIsNoticed) {
    const std::string bytes = contentOf(whole());
    const auto all = packetCounts(whole());
    std::vector<std::size_t> places;
    for (const std::string& line :
         linesOf(outputOf({"ffprobe", "-v", "error", "-show_entries", "packet=pos", "-of", "csv=p=0", whole()}))) {
        const auto place = static_cast<std::size_t>(std::stoul("0" + line));
        if (place > bytes.size() / 8 && place < bytes.size() * 7 / 8) {
            places.push_back(place);
        }
    }
    ASSERT_GT(places.size(), 300U);
    std::mt19937 random(5);
    for (int round = 0; round < 16; ++round) {
        const std::size_t place = places[random() % places.size()] + random() % 12;
        const auto bit = static_cast<unsigned>(random() % 8);
        SCOPED_TRACE(std::to_string(place) + " bit " + std::to_string(bit));
        std::string flipped = bytes;
        flipped[place] = static_cast<char>(static_cast<unsigned char>(flipped[place]) ^ 1U << bit);
        TemporaryFolder folder;
        const std::string source = folder.file("talk.rec");
        writeFile(source, flipped);
        RecordingSink sink;
        testing::internal::CaptureStderr();
        convert(source, folder.file("out.mp4"), sink);
        const std::string log = testing::internal::GetCapturedStderr();
        ASSERT_TRUE(sink.isSuccess()) << log;
        EXPECT_TRUE(contentOf(source) == flipped);

        const auto have = packetCounts(folder.file("out.mp4"));
        ASSERT_EQ(have.size(), all.size());
        int lost = 0;
        for (std::size_t stream = 0; stream < have.size(); ++stream) {
            EXPECT_GT(have[stream], all[stream] * 9 / 10) << stream;
            lost += std::max(0, all[stream] - have[stream]);
        }
        // A few flipped bits turn one packet into something that cannot be recognised as a packet.
        EXPECT_TRUE(lost <= 1 || fs::exists(folder.file("talk (damaged).rec"))) << lost << " are missing";
        EXPECT_NEAR(std::stod(probe(folder.file("out.mp4"), "format=duration").front()), 20, 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedRecordingTest,
                         testing::Values("Matroska", "TransportStream", "FragmentedMp4", "Flv"),
                         [](const auto& test) { return std::string(test.param); });

/// A fragment header that is wrong although none of its boxes is malformed.
struct WrongHeader {
    const char* name;
    const char* box;
    std::size_t offset;  ///< from the box's name
    unsigned char flips;
};

class WrongFragmentHeaderTest : public AccountingTest, public testing::WithParamInterface<WrongHeader> {};

TEST_P(WrongFragmentHeaderTest, CostsThatFragmentAlone) {
    const std::string whole = samples::make(
        "mp4",
        {"-c:v", "libx264", "-preset", "ultrafast", "-g", "12", "-c:a", "aac", "-movflags", "frag_keyframe+empty_moov"},
        20);
    std::string bytes = contentOf(whole);
    const std::size_t fragment = bytes.find("moof", bytes.size() / 2);
    const std::size_t box = bytes.find(GetParam().box, fragment);
    ASSERT_LT(box, bytes.find("mdat", fragment));
    bytes[box + GetParam().offset] = static_cast<char>(bytes[box + GetParam().offset] ^ GetParam().flips);
    const std::string log = expectSuccess(put("talk.mp4", bytes), {"talk (damaged).mp4"});
    EXPECT_NE(log.find("are no fragment"), std::string::npos) << log;
    const auto all = packetCounts(whole);
    const auto have = packetCounts(destination());
    ASSERT_EQ(have.size(), 2U);
    EXPECT_EQ(have[0], all[0] - 12);
    EXPECT_NEAR(have[1], all[1] - 12 * 48000 / 25 / 1024, 2);
    EXPECT_EQ(runQuietly({"ffmpeg", "-v", "error", "-xerror", "-i", destination(), "-f", "null", "-"}), 0);
}

INSTANTIATE_TEST_SUITE_P(Headers, WrongFragmentHeaderTest,
                         testing::Values(WrongHeader{"OtherTrack", "tfhd", 11, 0x40},
                                         WrongHeader{"OtherPlaceOfTheData", "tfhd", 17, 0x02},
                                         WrongHeader{"TimeHoursAhead", "tfdt", 12, 0x10},
                                         WrongHeader{"MoreSamplesThanThereIsRoomFor", "trun", 9, 0x08},
                                         WrongHeader{"OtherOffset", "trun", 14, 0x01},
                                         WrongHeader{"LargerSample", "trun", 25, 0x01}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
