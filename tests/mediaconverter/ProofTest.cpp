#include "mediaconverter/worker/proof/Proof.h"

#include "mediaconverter/FaultTest.h"
#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/Mp4Structure.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/reading/Recording.h"
#include "mediaconverter/worker/tracks/Track.h"
#include "mediaconverter/worker/writing/FileDescription.h"
#include "mediaconverter/worker/writing/Mp4File.h"

#include <fcntl.h>
#include <random>
#include <unistd.h>

// The proof finds whatever differs in a finished MP4 from what went into it.

namespace {

using namespace mediatest;

/// A recording copied into an MP4 that has not been proved yet.
class CopiedRecording {
public:
    CopiedRecording(const std::string& source, const std::string& target)
        : source_(::open(source.c_str(), O_RDONLY | O_CLOEXEC)),
          output_(::open(target.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600)),
          recording_(source_),
          writer_(std::make_unique<worker::Mp4File>(output_, 65536)) {
        for (unsigned index = 0; index < recording_.format().nb_streams; ++index) {
            tracks_.push_back(std::make_unique<worker::CopiedTrack>(*recording_.format().streams[index],
                                                                    writer_.addTrack(), timeline_, false));
        }
        worker::copyChapters(recording_.format(), writer_.format(), 0);
        writer_.start(true);
        const worker::PacketPointer packet = worker::newPacket();
        while (recording_.read(*packet)) {
            tracks_[static_cast<std::size_t>(packet->stream_index)]->accept(*packet, writer_);
            av_packet_unref(packet.get());
        }
        for (const auto& track : tracks_) {
            track->finish(writer_);
        }
        writer_.storeRest();
        writer_.finish();
    }

    ~CopiedRecording() {
        ::close(source_);
        ::close(output_);
    }

    CopiedRecording(const CopiedRecording&) = delete;
    CopiedRecording& operator=(const CopiedRecording&) = delete;

    /// Whether the conversion would end with success: its own proof, and then the application's check.
    bool isProved() const { return isProvedWith(writer_.writtenByMuxer()); }

    /// As if the muxer itself had written what is wrong in the index.
    bool isProvedDespiteMuxer() const { return isProvedWith({}); }

    void flip(std::size_t bit) const {
        unsigned char byte = 0;
        const auto position = static_cast<off_t>(bit / 8);
        EXPECT_EQ(::pread(output_, &byte, 1, position), 1);
        byte = static_cast<unsigned char>(byte ^ 1U << bit % 8);
        EXPECT_EQ(::pwrite(output_, &byte, 1, position), 1);
    }

private:
    bool isProvedWith(std::span<const worker::WrittenRange> writtenByMuxer) const {
        std::vector<worker::ProvedTrack> tracks;
        for (std::size_t index = 0; index < tracks_.size(); ++index) {
            tracks.push_back(
                {*writer_.format().streams[index], writer_.tallies()[index], tracks_[index]->sourceTimes(), true});
        }
        try {
            const std::string difference = proveMp4(output_, tracks, writtenByMuxer);
            mediaconverter::requireWholeMp4(output_);
            return difference.empty();
        } catch (const worker::Failure&) {
            return false;
        } catch (const worker::TrackFailure&) {
            return false;
        } catch (const mediaconverter::JobFailure&) {
            return false;
        }
    }

    int source_;
    int output_;
    worker::Recording recording_;
    mutable worker::Mp4Writer writer_;
    worker::Timeline timeline_{0, false};
    std::vector<std::unique_ptr<worker::Track>> tracks_;
};

class ProofTest : public testing::Test {
protected:
    /// A path in the folder of these tests.
    static std::string file(const std::string& name) {
        static const TemporaryFolder folder;
        return folder.file(name);
    }

    /// Flips a bit, expects that it is found, and flips it back.
    static bool finds(const CopiedRecording& copied, std::size_t bit) {
        copied.flip(bit);
        const bool isFound = !copied.isProved();
        copied.flip(bit);
        EXPECT_TRUE(isFound) << "bit " << bit % 8 << " of byte " << bit / 8;
        return isFound;
    }
};

TEST_F(ProofTest, FindsEachOfAThousandFlippedBits) {
    const std::string path = file("flipped.mp4");
    const CopiedRecording copied(samples::matroska(), path);
    ASSERT_TRUE(copied.isProved());
    const std::string bytes = contentOf(path);
    // Between the index and the headers of the data there is nothing but a free box, whose content means nothing.
    const std::size_t indexEnd = bytes.find("free") + 4;
    const std::size_t dataHeaders = bytes.find("mdat") - 12;
    ASSERT_LT(bytes.find("moov"), indexEnd);
    ASSERT_LT(indexEnd, dataHeaders);
    std::mt19937 random(4711);
    std::uniform_int_distribution<std::size_t> inIndex(0, 8 * indexEnd - 1);
    std::uniform_int_distribution<std::size_t> inData(8 * dataHeaders, 8 * bytes.size() - 1);
    int found = 0;
    for (int count = 0; count < 500; ++count) {
        found += finds(copied, inIndex(random)) ? 1 : 0;
        found += finds(copied, inData(random)) ? 1 : 0;
    }
    EXPECT_EQ(found, 1000);
    EXPECT_TRUE(copied.isProved());
}

TEST_F(ProofTest, FindsWhatTheMuxerItselfHasStoredWrong) {
    const std::string path = file("muxer.mp4");
    const CopiedRecording copied(samples::matroska(), path);
    ASSERT_TRUE(copied.isProvedDespiteMuxer());
    const std::string bytes = contentOf(path);
    // In each table the lowest bit of the first entry: the duration, offset or place of samples, or the size of one.
    for (const auto& [table, lowestByte] :
         {std::pair{"stts", 15}, std::pair{"ctts", 15}, std::pair{"stsz", 19}, std::pair{"stco", 11}}) {
        const std::size_t byte = bytes.find(table) + 4 + static_cast<std::size_t>(lowestByte);
        copied.flip(8 * byte);
        EXPECT_FALSE(copied.isProvedDespiteMuxer()) << table;
        copied.flip(8 * byte);
    }
}

TEST_F(ProofTest, FindsEachFlippedBitOfTheDataBoxHeader) {
    const std::string path = file("header.mp4");
    const CopiedRecording copied(samples::matroska(), path);
    const std::size_t header = contentOf(path).find("mdat") - 12;
    for (std::size_t bit = 8 * header; bit < 8 * (header + 16); ++bit) {
        finds(copied, bit);
    }
}

TEST_F(ProofTest, FindsEachFlippedBitOfAChapter) {
    const std::string chapters = file("chapters.txt");
    writeFile(chapters, ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\ntitle=Welcome\n"
                        "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=3000\ntitle=Questions\n");
    const std::string source = file("chapters.mkv");
    ASSERT_EQ(runQuietly({"ffmpeg", "-v", "error", "-i", samples::matroska(), "-i", chapters, "-map_chapters", "1",
                          "-c", "copy", source}),
              0);
    const std::string path = file("chapters.mp4");
    const CopiedRecording copied(source, path);
    ASSERT_TRUE(copied.isProved());
    const std::string bytes = contentOf(path);
    const std::size_t title = bytes.find("Questions", bytes.find("mdat"));
    ASSERT_NE(title, std::string::npos);
    for (std::size_t bit = 8 * (title - 2); bit < 8 * (title + std::string("Questions").size()); ++bit) {
        finds(copied, bit);
    }
}

// Payloads that the muxer changes or joins, and tracks with samples of its own.
TEST_F(ProofTest, AcceptsEveryFormInWhichPayloadsAreStored) {
    const Words mpegAac = {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"};
    const std::vector<std::pair<std::string, Words>> kinds = {
        {"ts", mpegAac},
        {"ts", {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=none", "-c:a", "ac3"}},
        {"mkv",
         {"-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", "8", "-lag-in-frames", "16", "-auto-alt-ref", "1",
          "-c:a", "libopus"}},
        {"mkv", {"-c:v", "libsvtav1", "-preset", "12", "-c:a", "eac3"}},
        {"ivf", {"-map", "0", "-c:v", "libsvtav1", "-preset", "12"}},
        {"mkv", {"-c:v", "mpeg4", "-c:a", "flac"}},
        {"aac", {"-map", "1", "-c:a", "aac"}},
    };
    for (std::size_t index = 0; index < kinds.size(); ++index) {
        const auto& [extension, codecs] = kinds[index];
        const CopiedRecording copied(samples::make(extension, codecs), file(std::to_string(index) + ".mp4"));
        EXPECT_TRUE(copied.isProved()) << extension << " " << codecs[1] << " " << codecs.back();
        const std::string bytes = contentOf(file(std::to_string(index) + ".mp4"));
        const std::size_t data = bytes.find("mdat") + 4;
        finds(copied, 8 * (data + (bytes.size() - data) / 2) + 3);
    }
}

}  // namespace
