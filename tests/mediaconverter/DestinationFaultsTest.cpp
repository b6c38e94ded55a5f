#include "mediaconverter/FaultTest.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

// Everything that can be wrong with the MP4's destination: nothing is replaced, and one error is reported.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

class DestinationFaultsTest : public FaultTest {
protected:
    DestinationFaultsTest() : source_(put("a.mkv", contentOf(samples::matroska()))) {}

    std::string source_;
};

TEST_F(DestinationFaultsTest, AnExistingFileStays) {
    put("out.mp4", "somebody's");
    expectError(source_, destinationExists);
}

TEST_F(DestinationFaultsTest, AnExistingFolderStays) {
    fs::create_directory(destination());
    expectError(source_, destinationExists);
    expectError(source_, destination() + "/", destinationExists);
}

TEST_F(DestinationFaultsTest, AnExistingLinkStays) {
    fs::create_symlink(folder_.file("nowhere"), destination());
    expectError(source_, destinationExists);
}

TEST_F(DestinationFaultsTest, AHardLinkOfTheSourceStays) {
    fs::create_hard_link(source_, destination());
    expectError(source_, destinationExists);
}

TEST_F(DestinationFaultsTest, TheSourceItselfStays) {
    expectError(source_, source_, destinationExists);
}

TEST_F(DestinationFaultsTest, AFileThatAppearsWhileConvertingStays) {
    bool made = false;
    sink_.inCallback = [&] {
        if (!made) {
            made = true;
            put("out.mp4", "somebody's");
        }
    };
    convert(source_, destination(), sink_);
    EXPECT_EQ(sink_.onlyError(), static_cast<int>(destinationExists));
    EXPECT_EQ(contentOf(destination()), "somebody's");
    EXPECT_EQ(folder_.names().size(), 2U);
}

TEST_F(DestinationFaultsTest, AMissingFolderIsAnError) {
    expectError(source_, folder_.file("missing/out.mp4"), folderMissing);
    expectError(source_, source_ + "/out.mp4", folderMissing);
}

TEST_F(DestinationFaultsTest, AFolderThatMayNotBeWrittenToIsAnError) {
    TemporaryFolder target;
    ASSERT_EQ(::chmod(target.path().c_str(), 0555), 0);
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
    std::vector<std::string> before;
    if (::getuid() == 0) {
        // Still the owner of everything on the path, but bound by permissions.
        before = {"setpriv", "--bounding-set=-dac_override,-dac_read_search"};
    }
    const auto result = convertInProcess(source_, target.file("out.mp4"), {}, before);
    EXPECT_TRUE(result.saidError(folderNotWritable)) << result.output;
    EXPECT_TRUE(target.names().empty());
}

TEST_F(DestinationFaultsTest, ANameThatIsTooLongIsAnError) {
    expectError(source_, folder_.file(std::string(256, 'x')), destinationNameTooLong);
}

TEST_F(DestinationFaultsTest, AbsentPathsAndOtherTracksAndContainersAreBadRequests) {
    const auto converter = make(shippedConverter(), sink_);
    converter->Convert(nullptr, destination().c_str(), 3, 4);
    converter->Convert(source_.c_str(), nullptr, 3, 4);
    converter->Convert("", destination().c_str(), 3, 4);
    converter->Convert(source_.c_str(), "", 3, 4);
    converter->Convert(source_.c_str(), destination().c_str(), 1, 4);
    converter->Convert(source_.c_str(), destination().c_str(), 3, 5);
    EXPECT_EQ(sink_.errors(), std::vector<int>(6, static_cast<int>(badRequest)));
    EXPECT_TRUE(sink_.progress().empty());
}

TEST_F(DestinationFaultsTest, TwoConvertersOnOneFileMakeOneWholeMp4) {
    RecordingSink other;
    std::thread second([&] { convert(source_, destination(), other); });
    convert(source_, destination(), sink_);
    second.join();
    EXPECT_NE(sink_.isSuccess(), other.isSuccess());
    EXPECT_EQ((sink_.isSuccess() ? other : sink_).onlyError(), static_cast<int>(destinationExists));
    EXPECT_EQ(packetHashes(destination()), packetHashes(source_));
    EXPECT_EQ(folder_.names().size(), 2U);
}

TEST_F(DestinationFaultsTest, TwoConvertersInOneFolderDoNotMix) {
    const std::string otherSource = put("b.mkv", contentOf(samples::make("mkv", {"-c:v", "mpeg4", "-c:a", "ac3"})));
    RecordingSink other;
    std::thread second([&] { convert(otherSource, folder_.file("b.mp4"), other); });
    convert(source_, destination(), sink_);
    second.join();
    EXPECT_TRUE(sink_.isSuccess());
    EXPECT_TRUE(other.isSuccess());
    EXPECT_EQ(packetHashes(destination()), packetHashes(source_));
    EXPECT_EQ(packetHashes(folder_.file("b.mp4")), packetHashes(otherSource));
}

TEST_F(DestinationFaultsTest, TheModeFollowsTheSourcesPrivacyAndTheTimeIsTheSources) {
    for (const mode_t mode : {0600U, 0640U, 0644U, 0666U}) {
        ASSERT_EQ(::chmod(source_.c_str(), mode), 0);
        const struct timespec times[2] = {{1'000'000'000, 5}, {1'234'567'890, 123'456'789}};
        ASSERT_EQ(::utimensat(AT_FDCWD, source_.c_str(), times, 0), 0);
        fs::remove(destination());
        expectSuccess(source_);
        struct stat status = {};
        ASSERT_EQ(::stat(destination().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, mode);
        EXPECT_EQ(status.st_mtim.tv_sec, 1'234'567'890);
        EXPECT_EQ(status.st_mtim.tv_nsec, 123'456'789);
    }
}

}  // namespace
