#include "mediaconverter/worker/structure/MatroskaPackets.h"

#include "mediaconverter/FaultTest.h"
#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/reading/SourceReader.h"
#include "mediaconverter/worker/structure/Irregularity.h"

#include <cstdint>
#include <ostream>
#include <sys/mman.h>
#include <unistd.h>

// The packets that the parser of Matroska's structure finds, compared with those of the media library's demuxer.

namespace {

using namespace mediatest;

/// One packet, as both sides describe it.
struct Found {
    std::size_t track;
    std::int64_t time;
    std::string payload;

    bool operator==(const Found&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Found& packet) {
    return out << "track " << packet.track << " at " << packet.time << ", " << packet.payload.size() << " bytes";
}

/// An open file, read-only.
class File {
public:
    explicit File(const std::string& bytes) : descriptor_(::memfd_create("recording", MFD_CLOEXEC)) {
        EXPECT_EQ(::write(descriptor_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    ~File() { ::close(descriptor_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

std::vector<Found> foundByParser(const std::string& bytes) {
    const File file(bytes);
    const worker::SourceReader reader(file.descriptor());
    worker::MatroskaPackets packets(reader);
    std::vector<Found> found;
    for (worker::StructuredPacket packet; packets.next(packet);) {
        const auto payload = packets.payloadOf(packet);
        EXPECT_EQ(payload.size(), static_cast<std::size_t>(packet.size));
        EXPECT_EQ(bytes.substr(static_cast<std::size_t>(packet.position), payload.size()),
                  std::string(payload.begin(), payload.end()));
        found.push_back({packet.track, packet.time, std::string(payload.begin(), payload.end())});
    }
    return found;
}

std::vector<Found> foundByLibrary(const std::string& bytes) {
    const File file(bytes);
    worker::SourceReader reader(file.descriptor());
    AVFormatContext* context = avformat_alloc_context();
    context->pb = reader.context();
    context->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    EXPECT_EQ(avformat_open_input(&context, "", av_find_input_format("matroska"), nullptr), 0);
    const worker::InputPointer format(context);
    const worker::PacketPointer packet = worker::newPacket();
    std::vector<Found> found;
    for (; av_read_frame(format.get(), packet.get()) >= 0; av_packet_unref(packet.get())) {
        found.push_back({static_cast<std::size_t>(packet->stream_index), packet->pts,
                         std::string(packet->data, packet->data + packet->size)});
    }
    return found;
}

void expectSamePackets(const std::string& bytes) {
    const auto found = foundByParser(bytes);
    const auto wanted = foundByLibrary(bytes);
    ASSERT_GT(wanted.size(), 10U);
    ASSERT_EQ(found.size(), wanted.size());
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        ASSERT_EQ(found[index], wanted[index]) << "packet " << index;
    }
}

const Words h264 = {"-c:v", "libx264", "-preset", "veryfast", "-g", "25"};

struct Kind {
    const char* name;
    const char* extension;
    Words options;
};

class MatroskaPacketsTest : public testing::TestWithParam<Kind> {};

TEST_P(MatroskaPacketsTest, AreThoseThatTheLibraryFinds) {
    expectSamePackets(contentOf(samples::make(GetParam().extension, GetParam().options)));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, MatroskaPacketsTest,
    testing::Values(Kind{"Usual", "mkv", plus(h264, {"-c:a", "aac"})},
                    Kind{"Live", "mkv", plus(h264, {"-c:a", "aac", "-live", "1", "-cluster_time_limit", "500"})},
                    Kind{"WebMWithCodecDelay", "webm", {"-c:v", "libvpx", "-deadline", "realtime", "-c:a", "libopus"}},
                    Kind{"AudioAlone", "mka", {"-vn", "-c:a", "aac"}},
                    Kind{"OffsetOfHours", "mkv", plus(h264, {"-c:a", "aac", "-output_ts_offset", "30000"})}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
