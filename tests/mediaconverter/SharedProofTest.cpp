#include "mediaconverter/worker/sharing/SharedProof.h"

#include "mediaconverter/Boxes.h"
#include "mediaconverter/LanesTest.h"
#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/reading/SourceReader.h"
#include "mediaconverter/worker/sharing/NotShareable.h"
#include "mediaconverter/worker/structure/MatroskaPackets.h"

#include <cstdint>
#include <random>
#include <sys/mman.h>
#include <unistd.h>

// The proof of an MP4 whose data is the recording finds every error of its index.

namespace {

using namespace mediatest;

/// A file without a name.
class File {
public:
    explicit File(const std::string& bytes) : descriptor_(::memfd_create("file", MFD_CLOEXEC)) {
        EXPECT_EQ(::write(descriptor_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    ~File() { ::close(descriptor_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int descriptor() const { return descriptor_; }

    void flip(std::size_t byte, unsigned bit) const {
        std::uint8_t value = 0;
        EXPECT_EQ(::pread(descriptor_, &value, 1, static_cast<off_t>(byte)), 1);
        value = static_cast<std::uint8_t>(value ^ 1U << bit);
        EXPECT_EQ(::pwrite(descriptor_, &value, 1, static_cast<off_t>(byte)), 1);
    }

private:
    int descriptor_;
};

class SharedProofTest : public testing::Test {
protected:
    SharedProofTest() {
        const std::string whole = contentOf(source_);
        payloadStart_ = static_cast<std::int64_t>(mp4_.find(whole.substr(0, 64)));
        const File recording(whole);
        const worker::SourceReader reader(recording.descriptor());
        worker::MatroskaPackets packets(reader);
        list_.tracks.resize(packets.tracks().size());
        for (worker::StructuredPacket packet; packets.next(packet);) {
            if (list_.clusters.empty() || list_.clusters.back().position != packet.cluster) {
                list_.clusters.push_back({packet.cluster, {}});
                for (const auto& track : list_.tracks) {
                    list_.clusters.back().first.push_back(static_cast<std::uint32_t>(track.packets.size()));
                }
            }
            list_.tracks[packet.track].packets.push_back(
                {packet.position, packet.time, 0, static_cast<std::uint32_t>(packet.size), packet.isKey});
        }
        learnDecodingTimes();
    }

    /// True if the proof holds for the MP4 with this content.
    bool isProved(const File& mp4) const {
        const File recording(contentOf(source_));
        const std::vector<int> tracks = {0, 1};
        try {
            worker::proveSharedMp4(recording.descriptor(), mp4.descriptor(), list_, tracks, payloadStart_);
            return true;
        } catch (const worker::NotShareable&) {
        } catch (const worker::Failure&) {
        }
        return false;
    }

    /// Where the rows of the first box of this type start and end.
    std::pair<std::size_t, std::size_t> rowsOf(const std::string& type, std::size_t header) const {
        const std::size_t at = mp4_.find(type);
        const std::vector<std::uint8_t> size(mp4_.begin() + static_cast<std::ptrdiff_t>(at - 4),
                                             mp4_.begin() + static_cast<std::ptrdiff_t>(at + 4));
        const auto box = mediaconverter::readBoxHeader(size);
        EXPECT_TRUE(box);
        return {at + 4 + header, at - 4 + static_cast<std::size_t>(box->size)};
    }

    const std::string source_ = samples::make(
        "mkv", {"-c:v", "libx264", "-preset", "veryfast", "-g", "25", "-c:a", "aac", "-cluster_time_limit", "300"}, 20);
    const std::string mp4_ = convertHere(source_, false).mp4;
    std::int64_t payloadStart_ = 0;
    worker::PacketList list_;

private:
    void learnDecodingTimes() {
        const File file(mp4_);
        worker::SourceReader reader(file.descriptor());
        AVFormatContext* context = avformat_alloc_context();
        context->pb = reader.context();
        context->flags |= AVFMT_FLAG_CUSTOM_IO;
        ASSERT_EQ(avformat_open_input(&context, "", av_find_input_format("mp4"), nullptr), 0);
        const worker::InputPointer format(context);
        for (unsigned track = 0; track < list_.tracks.size(); ++track) {
            for (int index = 0; index < static_cast<int>(list_.tracks[track].packets.size()); ++index) {
                list_.tracks[track].packets[static_cast<std::size_t>(index)].decodingTime =
                    avformat_index_get_entry(format->streams[track], index)->timestamp;
            }
        }
    }
};

TEST_F(SharedProofTest, HoldsForWhatTheWorkerMakes) {
    EXPECT_TRUE(isProved(File(mp4_)));
}

TEST_F(SharedProofTest, FindsEveryFlippedBitInPlacesSizesTimesAndKeys) {
    std::mt19937 random(1);
    const File mp4(mp4_);
    for (const auto& [type, header] : {std::pair{"stco", 8U}, {"stsz", 12U}, {"stss", 8U}}) {
        const auto [start, end] = rowsOf(type, header);
        ASSERT_LT(start, end);
        for (int round = 0; round < 20; ++round) {
            const std::size_t byte = start + random() % (end - start);
            const auto bit = static_cast<unsigned>(random() % 8);
            mp4.flip(byte, bit);
            EXPECT_FALSE(isProved(mp4)) << type << ", byte " << byte << ", bit " << bit;
            mp4.flip(byte, bit);
        }
    }
    EXPECT_TRUE(isProved(mp4)) << "all flipped back";
}

TEST_F(SharedProofTest, FindsDataThatIsNotTheRecordings) {
    const File mp4(mp4_);
    for (const auto& track : list_.tracks) {
        for (const worker::ListedPacket& packet : {track.packets.front(), track.packets.back()}) {
            const auto last = static_cast<std::size_t>(payloadStart_ + packet.position + packet.size - 1);
            mp4.flip(last, 0);
            EXPECT_FALSE(isProved(mp4));
            mp4.flip(last, 0);
        }
    }
}

TEST_F(SharedProofTest, FindsPacketsThatTheLibrarySeesOtherwise) {
    list_.tracks[0].packets.front().time += 1;
    EXPECT_FALSE(isProved(File(mp4_)));
    list_.tracks[0].packets.front().time -= 1;
    list_.tracks[1].packets.back().time += 1;
    EXPECT_FALSE(isProved(File(mp4_)));
    list_.tracks[1].packets.back().time -= 1;
    EXPECT_TRUE(isProved(File(mp4_)));
}

}  // namespace
