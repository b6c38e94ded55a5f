#include "mediaconverter/AccountingTest.h"
#include "mediaconverter/worker/accounting/MatroskaLacing.h"
#include "mediaconverter/worker/accounting/ScanChoice.h"
#include "mediaconverter/worker/reading/SourceReader.h"

#include <algorithm>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

// What the scanners find in the structure of each container, without a conversion.

namespace {

using namespace mediatest;

constexpr std::uint32_t firstTrack = 1;

/// A file without a name.
class Bytes {
public:
    explicit Bytes(const std::string& bytes) : descriptor_(::memfd_create("recording", MFD_CLOEXEC)) {
        EXPECT_EQ(::write(descriptor_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    ~Bytes() { ::close(descriptor_); }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;

    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

/// The ledger that the scanner of `format` produces for the bytes.
worker::Ledger scanned(const char* format, const std::string& bytes) {
    const Bytes file(bytes);
    const worker::SourceReader reader(file.descriptor());
    worker::SourceView view(reader);
    worker::Ledger ledger;
    const auto scan = worker::makeScan(*av_find_input_format(format), view, ledger);
    scan->corrections();
    scan->finish();
    return ledger;
}

std::string lostIn(const char* format, const std::string& bytes) {
    return scanned(format, bytes).lost();
}

std::string withNoiseAt(double place, const std::string& bytes) {
    const auto at = static_cast<std::size_t>(place * static_cast<double>(bytes.size()));
    std::string noise = std::string("\x01\x80\xF3") + std::string(1000, '\x5A');
    return std::string(bytes).replace(at, noise.size(), noise);
}

/// The chain of a container's parts; for some formats, nothing else is checked.
class ChainTest : public testing::TestWithParam<std::pair<const char*, Container>> {
protected:
    const char* format() const { return GetParam().first; }
    std::string whole() const {
        return contentOf(samples::make(GetParam().second.extension, GetParam().second.options, 1));
    }
};

TEST_P(ChainTest, IsWholeAsItWasRecorded) {
    EXPECT_EQ(lostIn(format(), whole()), "");
}

TEST_P(ChainTest, BreaksWhereBytesAreMissing) {
    std::string bytes = whole();
    EXPECT_NE(lostIn(format(), bytes.erase(bytes.size() / 2, 1001)), "");
}

TEST_P(ChainTest, ShowsNoiseAfterTheEnd) {
    EXPECT_NE(lostIn(format(), whole() + withNoiseAt(0, std::string(1003, '\0'))), "");
}

INSTANTIATE_TEST_SUITE_P(
    Containers, ChainTest,
    testing::Values(std::pair{"ivf", Container{"Ivf", "ivf", {"-an", "-c:v", "libvpx", "-deadline", "realtime"}}},
                    std::pair{"mxf", Container{"Mxf", "mxf", {"-c:v", "mpeg2video", "-c:a", "pcm_s16le"}}},
                    std::pair{"gxf", Container{"Gxf", "gxf", {"-an", "-c:v", "mpeg2video", "-s", "720x576"}}},
                    std::pair{"mp4", Container{"Mp4", "mp4", plus(h264Aac, {"-movflags", "+faststart"})}},
                    std::pair{"mpegts", Container{"TransportStream", "ts", h264Aac}},
                    std::pair{"matroska", Container{"MatroskaLive", "mkv", plus(h264Aac, {"-live", "1"})}},
                    std::pair{"asf", Container{"Asf", "asf", {"-c:v", "msmpeg4", "-c:a", "wmav2"}}}),
    [](const auto& test) { return std::string(test.param.second.name); });

TEST(MxfGrammarTest, NoticesAKeyThatIsNone) {
    std::string bytes = contentOf(samples::make("mxf", {"-c:v", "mpeg2video", "-c:a", "pcm_s16le"}, 1));
    const std::size_t key = bytes.find("\x06\x0E\x2B\x34\x01\x02", bytes.size() / 2);
    ASSERT_NE(key, std::string::npos);
    bytes[key] = '\x07';
    EXPECT_NE(lostIn("mxf", bytes), "");
}

TEST(GxfGrammarTest, NoticesAHeaderWithoutItsEnd) {
    std::string bytes = contentOf(samples::make("gxf", {"-an", "-c:v", "mpeg2video", "-s", "720x576"}, 1));
    const std::size_t header = bytes.find(std::string("\0\0\0\0\x01\xBF", 6), bytes.size() / 2);
    ASSERT_NE(header, std::string::npos);
    bytes[header + 14] = '\x0E';
    EXPECT_NE(lostIn("gxf", bytes), "");
}

constexpr std::size_t transportPacket = 188;

std::string transportStream() {
    return contentOf(samples::make("ts", h264Aac, 1));
}

/// A packet in the middle that carries part of the video, but not the start of anything.
std::size_t videoPacket(const std::string& bytes) {
    std::size_t at = bytes.size() / transportPacket / 2 * transportPacket;
    while ((bytes[at + 1] & 0x5F) != 1 || bytes[at + 2] != 0 || (bytes[at + 3] & 0x30) != 0x10) {
        at += transportPacket;
    }
    return at;
}

TEST(TransportScanTest, NoticesAMissingPacketByItsCounter) {
    std::string bytes = transportStream();
    ASSERT_EQ(lostIn("mpegts", bytes), "");
    bytes.erase(videoPacket(bytes), transportPacket);
    EXPECT_NE(lostIn("mpegts", bytes).find("counter jumps"), std::string::npos);
}

TEST(TransportScanTest, BelievesTheReceiverThatMarksAPacketAsDamaged) {
    std::string bytes = transportStream();
    char& flags = bytes[videoPacket(bytes) + 1];
    flags = static_cast<char>(flags | '\x80');
    EXPECT_NE(lostIn("mpegts", bytes).find("marked as damaged"), std::string::npos);
}

TEST(TransportScanTest, NoticesAHeaderThatIsLongerThanItsPacket) {
    std::string bytes = transportStream();
    const std::size_t at = videoPacket(bytes);
    bytes[at + 3] = static_cast<char>(bytes[at + 3] | '\x20');
    bytes[at + 4] = '\xF0';
    EXPECT_NE(lostIn("mpegts", bytes).find("longer than itself"), std::string::npos);
}

TEST(OggGrammarTest, NoticesAMissingPageByItsNumber) {
    std::string bytes = contentOf(samples::make("ogv", {"-c:v", "libtheora", "-c:a", "libvorbis"}, 3));
    ASSERT_EQ(lostIn("ogg", bytes), "");
    const std::size_t page = bytes.find("OggS", bytes.size() / 2);
    bytes.erase(page, bytes.find("OggS", page + 4) - page);
    EXPECT_NE(lostIn("ogg", bytes).find("numbers jump"), std::string::npos);
}

TEST(OggGrammarTest, NoticesAFlippedBitByTheChecksum) {
    std::string bytes = contentOf(samples::make("ogv", {"-c:v", "libtheora", "-c:a", "libvorbis"}, 3));
    bytes[bytes.size() / 2] ^= '\x01';
    EXPECT_NE(lostIn("ogg", bytes).find("checksum is wrong"), std::string::npos);
}

std::string avi() {
    return contentOf(samples::make("avi", {"-c:v", "mpeg4", "-c:a", "libmp3lame"}, 1));
}

TEST(AviGrammarTest, NoticesAChunkOfNoKnownKind) {
    std::string bytes = avi();
    ASSERT_EQ(lostIn("avi", bytes), "");
    bytes.replace(bytes.find("00dc", bytes.size() / 2), 4, "what");
    EXPECT_NE(lostIn("avi", bytes), "");
}

TEST(AviGrammarTest, TakesALastChunkThatIsNotFilledUp) {
    std::string bytes = avi();
    // Cut after a chunk of an odd size, before its padding.
    std::size_t at = bytes.find("00dc", bytes.size() / 2);
    while ((bytes[at + 4] & 1) == 0) {
        at = bytes.find("00dc", at + 4);
    }
    const auto size = static_cast<unsigned char>(bytes[at + 4]) + (static_cast<unsigned char>(bytes[at + 5]) << 8U);
    bytes.resize(at + 8 + static_cast<std::size_t>(size));
    const worker::Ledger ledger = scanned("avi", bytes);
    EXPECT_EQ(ledger.lost(), "");
    EXPECT_TRUE(ledger.notes().empty()) << "treated as a truncated packet";
}

TEST(FlvGrammarTest, NoticesASizeThatIsNotTheOneAfterTheTag) {
    std::string bytes = contentOf(samples::make("flv", h264Aac, 1));
    ASSERT_EQ(lostIn("flv", bytes), "");
    // The last tag is followed by its size at the end of the file: a shorter one leads to no tag.
    const auto last = [&] {
        std::size_t size = 0;
        for (std::size_t index = bytes.size() - 4; index < bytes.size(); ++index) {
            size = size << 8U | static_cast<unsigned char>(bytes[index]);
        }
        return bytes.size() - 4 - size;
    }();
    bytes[last + 3] = static_cast<char>(bytes[last + 3] - 3);
    EXPECT_NE(lostIn("flv", bytes), "");
}

TEST(FlvGrammarTest, NoticesASizeThatRunsBeyondTheEnd) {
    std::string bytes = contentOf(samples::make("flv", h264Aac, 1));
    constexpr std::size_t overhead = 15;
    std::size_t tag = 13;
    for (int count = 0; count < 20; ++count) {
        const auto high = static_cast<unsigned char>(bytes[tag + 2]);
        tag += overhead + high * std::size_t{256} + static_cast<unsigned char>(bytes[tag + 3]);
    }
    bytes.replace(tag + 1, 3, "\xFF\xFF\xFF");
    EXPECT_NE(lostIn("flv", bytes).find("beyond the end"), std::string::npos);
}

std::string mp4() {
    return contentOf(samples::make("mp4", h264Aac, 1));
}

TEST(Mp4ScanTest, NoticesTablesThatContradictEachOther) {
    std::string bytes = mp4();
    ASSERT_EQ(lostIn("mp4", bytes), "");
    // Fewer chunks than hold all samples.
    const std::size_t count = bytes.find("stco") + 8;
    ASSERT_GT(bytes[count + 3], 1);
    bytes[count + 3] = '\x01';
    EXPECT_NE(lostIn("mp4", bytes).find("contradict"), std::string::npos);
}

TEST(Mp4ScanTest, NoticesDataThatNoIndexMentions) {
    std::string bytes = mp4();
    // The first sample becomes a byte shorter.
    std::size_t size = bytes.find("stsz") + 19;
    while (bytes[size] == '\0') {
        bytes[size--] = '\xFF';
    }
    --bytes[size];
    EXPECT_NE(lostIn("mp4", bytes).find("no index mentions"), std::string::npos);
}

TEST(Mp4ScanTest, NoticesAFragmentWhoseHeaderIsMalformed) {
    std::string bytes = contentOf(samples::make("mp4", plus(h264Aac, {"-movflags", "frag_keyframe+empty_moov"}), 1));
    ASSERT_EQ(lostIn("mp4", bytes), "");
    bytes[bytes.find("trun") + 8] = '\x10';
    EXPECT_NE(lostIn("mp4", bytes).find("malformed"), std::string::npos);
}

/// A recording of one block, with the lacing that `flags` select.
worker::Ledger laced(char flags, const std::string& content) {
    std::string bytes = contentOf(samples::make("mka", {"-vn", "-c:a", "libopus", "-live", "1"}, 1));
    bytes.resize(bytes.find("\x1F\x43\xB6\x75"));
    const std::string block = std::string("\x81\0\0", 3) + flags + content;
    bytes += std::string("\x1F\x43\xB6\x75\xFF\xE7\x81\0\xA3", 9);
    bytes += static_cast<char>('\x80' | static_cast<char>(block.size()));
    return scanned("matroska", bytes + block);
}

TEST(MatroskaLacingTest, CountsTheFramesOfABlock) {
    const std::string three("\x02", 1);
    for (const auto& [name, flags, sizes] :
         {std::tuple{"Xiph", '\x02', std::string("\x0A\x14", 2)},
          std::tuple{"EBML", '\x06', std::string("\x8A\xC9", 2)}, std::tuple{"fixed", '\x04', std::string()}}) {
        const worker::Ledger ledger = laced(flags, three + sizes + std::string(60, 'x'));
        EXPECT_EQ(ledger.lost(), "") << name;
        ASSERT_TRUE(ledger.payloads().contains(firstTrack)) << name;
        EXPECT_EQ(ledger.payloads().at(firstTrack).units, 3) << name;
        EXPECT_EQ(ledger.payloads().at(firstTrack).bytes, 60) << name;
    }
}

TEST(MatroskaLacingTest, NoticesSizesThatDoNotFitTheBlock) {
    EXPECT_NE(laced('\x02', std::string("\x02\x28\x28", 3) + std::string(60, 'x')).lost(), "");
    EXPECT_NE(laced('\x06', std::string("\x02\xA8\xBF", 3) + std::string(60, 'x')).lost(), "");
    EXPECT_NE(laced('\x04', std::string("\x02", 1) + std::string(61, 'x')).lost(), "");
}

TEST(MatroskaGrammarTest, NoticesABlockThatHidesTheNextCluster) {
    std::string header = contentOf(samples::make("mka", {"-vn", "-c:a", "libopus", "-live", "1"}, 1));
    header.resize(header.find("\x1F\x43\xB6\x75"));
    const auto cluster = [](const std::string& blockSize) {
        const std::string block = std::string("\x81\0\0\x80", 4) + std::string(60, 'x');
        const std::string content = std::string("\xE7\x81\0\xA3", 4) + blockSize + block;
        return "\x1F\x43\xB6\x75" + std::string(1, static_cast<char>(0x80 | content.size())) + content;
    };
    const std::string healthy = cluster("\xC0");
    ASSERT_EQ(lostIn("matroska", header + healthy + healthy), "");
    // 64 bytes of its own and 74 of the other.
    ASSERT_EQ(healthy.size(), 74U);
    EXPECT_NE(lostIn("matroska", header + cluster("\x40\x8A") + healthy), "");
}

}  // namespace
