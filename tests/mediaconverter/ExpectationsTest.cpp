#include "mediaconverter/AccountingTest.h"
#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/accounting/ScanChoice.h"
#include "mediaconverter/worker/reading/SourceReader.h"

#include <cstdint>
#include <fcntl.h>
#include <map>
#include <unistd.h>
#include <vector>

// The media library delivers exactly what the scanners expect of an intact recording, to the byte.

namespace {

using namespace mediatest;

class ExpectationsTest : public testing::TestWithParam<Container> {
protected:
    ExpectationsTest() {
        EXPECT_EQ(avformat_open_input(&opened_, path_.c_str(), nullptr, nullptr), 0);
        format_.reset(opened_);
        EXPECT_GE(avformat_find_stream_info(opened_, nullptr), 0);
    }
    ~ExpectationsTest() override { ::close(descriptor_); }

    /// Bytes per stream, as the library reads them.
    std::map<unsigned, std::int64_t> deliveredBytes() {
        std::map<unsigned, std::int64_t> bytes;
        const worker::PacketPointer packet = worker::newPacket();
        while (av_read_frame(opened_, packet.get()) >= 0) {
            bytes[static_cast<unsigned>(packet->stream_index)] += packet->size;
            av_packet_unref(packet.get());
        }
        return bytes;
    }

    std::vector<worker::Expectation> expectations() {
        const worker::SourceReader reader(descriptor_);
        worker::SourceView view(reader);
        worker::Ledger ledger;
        const auto scan = worker::makeScan(*opened_->iformat, view, ledger);
        scan->corrections();
        scan->finish();
        EXPECT_EQ(ledger.lost(), "");
        return scan->expectations(*opened_);
    }

private:
    const std::string path_ = samples::make(GetParam().extension, GetParam().options, 1);
    const int descriptor_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    AVFormatContext* opened_ = nullptr;
    worker::InputPointer format_;
};

TEST_P(ExpectationsTest, AreTheBytesThatTheLibraryDelivers) {
    const auto delivered = deliveredBytes();
    std::map<unsigned, std::int64_t> expected;
    for (const worker::Expectation& one : expectations()) {
        expected[one.stream] = one.bytes;
    }
    // Zeros before the first start code of a raw stream, which are not counted.
    constexpr std::int64_t mostZeros = 3;
    ASSERT_EQ(expected.size(), delivered.size());
    for (const auto& [stream, bytes] : delivered) {
        EXPECT_LE(expected[stream], bytes) << "stream " << stream;
        EXPECT_GE(expected[stream], bytes - mostZeros) << "stream " << stream;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Containers, ExpectationsTest,
    testing::Values(Container{"Matroska", "mkv", h264Aac}, Container{"Mp4", "mp4", h264Aac},
                    Container{"TransportStream", "ts", h264Aac},
                    Container{"ProgramStream", "mpg", {"-c:v", "mpeg2video", "-c:a", "mp2"}},
                    Container{"Flv", "flv", h264Aac}, Container{"Avi", "avi", {"-c:v", "mpeg4", "-c:a", "libmp3lame"}},
                    Container{"Ivf", "ivf", {"-an", "-c:v", "libvpx", "-deadline", "realtime"}},
                    Container{"RawH264", "h264", {"-an", "-c:v", "libx264", "-preset", "ultrafast"}},
                    Container{"Ac3", "ac3", {"-vn", "-c:a", "ac3"}}, Container{"Adts", "aac", {"-vn", "-c:a", "aac"}},
                    Container{"Wav", "wav", {"-vn", "-c:a", "pcm_s16le"}},
                    Container{"OggOpus", "opus", {"-vn", "-c:a", "libopus"}}),
    nameOf);

}  // namespace
