#include "mediaconverter/FaultTest.h"
#include "mediaconverter/MountedFolder.h"

#include <filesystem>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

// Real file systems: full ones, read-only ones, ones without unnamed files and links. Injected faults simulate the
// other cases in a test of its own, which everyone can run; these tests need the right to mount.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

constexpr std::int64_t mebibyte = std::int64_t{1} << 20U;
constexpr std::int64_t kibibyte = 1024;

class FileSystemsTest : public FaultTest {
protected:
    void SetUp() override {
        if (!MountedFolder::isPermitted()) {
            GTEST_SKIP() << "needs the right to mount; the injected faults play the same for everybody";
        }
    }

    /// Some megabytes that are copied.
    std::string copied() {
        return put("a.mkv",
                   contentOf(samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"}, 15)));
    }

    /// Much more than the index in front of it.
    static std::string large() {
        return samples::make("mkv",
                             {"-c:v", "libx264", "-preset", "ultrafast", "-b:v", "20M", "-minrate", "20M", "-maxrate",
                              "20M", "-bufsize", "20M", "-nal-hrd", "cbr", "-c:a", "aac"},
                             10);
    }

    /// Quiet audio that takes more room as AAC than as samples: its size cannot be predicted.
    std::string encoded(int seconds) {
        return put("a.wav",
                   contentOf(samples::make("wav", {"-vn", "-c:a", "pcm_u8", "-ar", "8000", "-ac", "1"}, seconds)));
    }

    /// Converts into `mounted` and expects a complete MP4, or diskFull and nothing left. True for the first.
    bool convertOrFull(const std::string& source, const MountedFolder& mounted) {
        const std::string result = mounted.file("out.mp4");
        const std::string before = contentOf(source);
        const auto names = mounted.names();
        RecordingSink sink;
        testing::internal::CaptureStderr();
        convert(source, result, sink);
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(contentOf(source) == before);
        if (!sink.isSuccess()) {
            EXPECT_EQ(sink.onlyError(), static_cast<int>(diskFull)) << log;
            EXPECT_EQ(mounted.names(), names) << log;
            return false;
        }
        EXPECT_EQ(mounted.names().size(), names.size() + 1);
        EXPECT_EQ(runQuietly({"ffmpeg", "-v", "error", "-xerror", "-i", result, "-c", "copy", "-f", "null", "-"}), 0);
        fs::remove(result);
        return true;
    }

    /// From no room at all to enough, in steps of `step`: the conversion fails at first and succeeds at the end.
    void expectOneErrorUntilThereIsRoom(const std::string& source, const MountedFolder& mounted, std::int64_t first,
                                        std::int64_t last, std::int64_t step) {
        int failures = 0;
        bool succeeded = false;
        for (std::int64_t free = first; free <= last; free += step) {
            mounted.leaveFree(free);
            const bool whole = convertOrFull(source, mounted);
            succeeded = succeeded || whole;
            failures += whole ? 0 : 1;
        }
        EXPECT_GE(failures, 2);
        EXPECT_TRUE(succeeded);
    }
};

class FullDiskTest : public FileSystemsTest, public testing::WithParamInterface<const char*> {
protected:
    /// The smallest size with which these file systems can be created.
    static std::int64_t size() { return GetParam() == std::string("xfs") ? 320 * mebibyte : 32 * mebibyte; }
};

TEST_P(FullDiskTest, IsOneErrorAtEveryMebibyteOfACopy) {
    const MountedFolder mounted(GetParam(), size());
    const std::string source = copied();
    expectOneErrorUntilThereIsRoom(source, mounted, 0, static_cast<std::int64_t>(fs::file_size(source)) + 3 * mebibyte,
                                   mebibyte);
}

TEST_P(FullDiskTest, IsOneErrorAtTheIndex) {
    // There is room for the data, and less and less for the index.
    const MountedFolder mounted(GetParam(), size());
    const std::string source = copied();
    const auto length = static_cast<std::int64_t>(fs::file_size(source));
    expectOneErrorUntilThereIsRoom(source, mounted, length - 400 * kibibyte, length + 1024 * kibibyte, 176 * kibibyte);
}

TEST_P(FullDiskTest, IsOneErrorAtEveryStepOfWhatIsReencoded) {
    const MountedFolder mounted(GetParam(), size());
    expectOneErrorUntilThereIsRoom(encoded(100), mounted, 0, 7 * mebibyte / 3, mebibyte / 3);
}

TEST_P(FullDiskTest, IsOneErrorOrNoneWhenOthersFillItWhileConverting) {
    const MountedFolder mounted(GetParam(), size());
    const std::string source = encoded(300);
    RecordingSink sink;
    sink.inCallback = [&] {
        if (sink.count() == 2) {
            mounted.leaveFree(0);
        }
    };
    convert(source, mounted.file("out.mp4"), sink);
    // The data written to the last free blocks by then may have been enough.
    if (!sink.isSuccess()) {
        EXPECT_EQ(sink.onlyError(), static_cast<int>(diskFull));
        EXPECT_TRUE(mounted.names().empty());
    }
    mounted.leaveFree(8 * mebibyte);
    fs::remove(mounted.file("out.mp4"));
    EXPECT_TRUE(convertOrFull(source, mounted)) << "the same recording once there is room again";
}

INSTANTIATE_TEST_SUITE_P(Kinds, FullDiskTest, testing::Values("tmpfs", "ext4", "xfs", "exfat"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(FileSystemsTest, WithoutUnnamedFilesLinksOrModesTheResultIsTheSame) {
    const MountedFolder mounted("exfat", 64 * mebibyte);
    const std::string source = mounted.file("talk.mkv");
    writeFile(source, contentOf(copied()));
    RecordingSink sink;
    convert(source, mounted.file("talk.mp4"), sink);
    EXPECT_TRUE(sink.isSuccess());
    EXPECT_EQ(packetHashes(mounted.file("talk.mp4")), packetHashes(source));
    EXPECT_EQ(mounted.names(), (std::vector<std::string>{"talk.mkv", "talk.mp4"}));
    const std::string bytes = contentOf(mounted.file("talk.mp4"));
    EXPECT_LT(bytes.find("moov"), bytes.find("mdat")) << "the index is not in front";

    RecordingSink again;
    convert(source, mounted.file("talk.mp4"), again);
    EXPECT_EQ(again.onlyError(), static_cast<int>(destinationExists));
    EXPECT_TRUE(contentOf(mounted.file("talk.mp4")) == bytes);
}

/// File systems that share blocks.
class SharedBlocksTest : public FileSystemsTest, public testing::WithParamInterface<const char*> {
protected:
    static constexpr std::int64_t size = 320 * mebibyte;

    /// Bytes that are in use on the disk itself.
    static std::int64_t usedOf(const MountedFolder& mounted) {
        ::sync();
        return -mounted.freeBytes();
    }
};

TEST_P(SharedBlocksTest, AnMp4TakesOnlyTheRoomOfItsIndex) {
    const MountedFolder mounted(GetParam(), size);
    const std::string source = mounted.file("talk.mkv");
    writeFile(source, contentOf(large()));
    const auto length = static_cast<std::int64_t>(fs::file_size(source));
    const std::int64_t before = usedOf(mounted);
    convert(source, mounted.file("talk.mp4"), sink_);
    ASSERT_TRUE(sink_.isSuccess());
    EXPECT_EQ(packetHashes(mounted.file("talk.mp4")), packetHashes(source));
    ASSERT_GT(length, 8 * mebibyte);
    EXPECT_LT(usedOf(mounted) - before, length / 10);
}

TEST_F(FileSystemsTest, AFullDiskIsNoObstacleWhereBlocksAreShared) {
    const MountedFolder mounted("xfs", 320 * mebibyte);
    const std::string source = mounted.file("talk.mkv");
    writeFile(source, contentOf(large()));
    ::sync();
    mounted.leaveFree(2 * mebibyte);
    ASSERT_LT(mounted.freeBytes(), static_cast<std::int64_t>(fs::file_size(source)) / 2);
    testing::internal::CaptureStderr();
    convert(source, mounted.file("talk.mp4"), sink_);
    const std::string log = testing::internal::GetCapturedStderr();
    ASSERT_TRUE(sink_.isSuccess()) << log;
    EXPECT_EQ(packetHashes(mounted.file("talk.mp4")), packetHashes(source));
}

INSTANTIATE_TEST_SUITE_P(Kinds, SharedBlocksTest, testing::Values("xfs", "btrfs"),
                         [](const auto& test) { return std::string(test.param); });

class RemovalTest : public FileSystemsTest, public testing::WithParamInterface<const char*> {};

TEST_P(RemovalTest, TheConvertedFileIsKnownAgainAndGoes) {
    const MountedFolder mounted(GetParam(), GetParam() == std::string("xfs") ? 320 * mebibyte : 64 * mebibyte);
    const std::string source = mounted.file("talk.mkv");
    writeFile(source, contentOf(copied()));
    const auto converter = make(shippedConverter(), sink_);
    converter->Convert(source.c_str(), mounted.file("talk.mp4").c_str(), 3, 4);
    ASSERT_TRUE(sink_.isSuccess());
    char reason[300] = {};
    EXPECT_EQ(shippedRemoval()(source.c_str(), reason, sizeof reason), 0) << reason;
    EXPECT_EQ(mounted.names(), std::vector<std::string>{"talk.mp4"});
}

INSTANTIATE_TEST_SUITE_P(Kinds, RemovalTest, testing::Values("tmpfs", "ext4", "xfs", "exfat"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(FileSystemsTest, WithoutLinksADamagedRecordingIsCopied) {
    const MountedFolder mounted("exfat", 64 * mebibyte);
    std::string bytes = contentOf(copied());
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.size() / 8, '\0');
    writeFile(mounted.file("talk.mkv"), bytes);
    RecordingSink sink;
    convert(mounted.file("talk.mkv"), mounted.file("talk.mp4"), sink);
    EXPECT_TRUE(sink.isSuccess());
    EXPECT_EQ(mounted.names(), (std::vector<std::string>{"talk (damaged).mkv", "talk.mkv", "talk.mp4"}));
    EXPECT_TRUE(contentOf(mounted.file("talk (damaged).mkv")) == bytes);
    EXPECT_TRUE(contentOf(mounted.file("talk.mkv")) == bytes);
}

TEST_F(FileSystemsTest, WithoutLinksADamagedRecordingThatHasNoRoomTwiceIsAnError) {
    const MountedFolder mounted("exfat", 64 * mebibyte);
    std::string bytes = contentOf(copied());
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.size() / 8, '\0');
    writeFile(mounted.file("talk.mkv"), bytes);
    mounted.leaveFree(static_cast<std::int64_t>(bytes.size()) * 3 / 2);
    RecordingSink sink;
    convert(mounted.file("talk.mkv"), mounted.file("talk.mp4"), sink);
    EXPECT_EQ(sink.onlyError(), static_cast<int>(damagedCopyNotKept));
    EXPECT_EQ(mounted.names(), std::vector<std::string>{"talk.mkv"});
    EXPECT_TRUE(contentOf(mounted.file("talk.mkv")) == bytes);
}

TEST_F(FileSystemsTest, ADestinationOnAReadOnlyFileSystemIsAnError) {
    const MountedFolder mounted("tmpfs", 8 * mebibyte);
    const std::string source = copied();
    writeFile(mounted.file("somebody's"), "x");
    mounted.makeReadOnly();
    const auto before = folder_.names();
    convert(source, mounted.file("out.mp4"), sink_);
    EXPECT_EQ(sink_.onlyError(), static_cast<int>(folderReadOnly));
    EXPECT_EQ(mounted.names(), std::vector<std::string>{"somebody's"});
    EXPECT_EQ(folder_.names(), before);
}

TEST_F(FileSystemsTest, ASourceOnAReadOnlyFileSystemIsConverted) {
    const MountedFolder mounted("tmpfs", 64 * mebibyte);
    writeFile(mounted.file("talk.mkv"), contentOf(copied()));
    mounted.makeReadOnly();
    convert(mounted.file("talk.mkv"), destination(), sink_);
    EXPECT_TRUE(sink_.isSuccess());
}

TEST_F(FileSystemsTest, ADamagedSourceOnAReadOnlyFileSystemIsAnError) {
    const MountedFolder mounted("tmpfs", 64 * mebibyte);
    std::string bytes = contentOf(copied());
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.size() / 8, '\0');
    writeFile(mounted.file("talk.mkv"), bytes);
    mounted.makeReadOnly();
    convert(mounted.file("talk.mkv"), destination(), sink_);
    EXPECT_EQ(sink_.onlyError(), static_cast<int>(damagedCopyNotKept));
    EXPECT_FALSE(fs::exists(destination()));
}

}  // namespace
