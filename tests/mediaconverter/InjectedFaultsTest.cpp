#include "mediaconverter/InjectedFaultsTest.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>

// A failing system call, whichever and whenever, results in an error and nothing left, or in a complete MP4.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

TEST_F(InjectedFaultsTest, EveryReadThatFailsIsAnError) {
    useLargerSource();
    EXPECT_GE(expectErrorForEachCall("worker:pread", EIO, {readFailed, proofFailed}), 8);
}

TEST_F(InjectedFaultsTest, EveryWriteThatFailsIsAnError) {
    useLargerSource();
    EXPECT_GE(expectErrorForEachCall("worker:pwrite", EIO, {writeFailed}), 8);
    EXPECT_GE(expectErrorForEachCall("worker:pwrite", ENOSPC, {diskFull}), 4);
}

TEST_F(InjectedFaultsTest, QuotaAndFileSizeLimitsAreToldApart) {
    EXPECT_GE(expectErrorForEachCall("worker:pwrite", EDQUOT, {quotaExceeded}), 4);
    EXPECT_GE(expectErrorForEachCall("worker:pwrite", EFBIG, {fileTooLarge}), 4);
}

TEST_F(InjectedFaultsTest, EveryTruncationThatFailsIsAnError) {
    EXPECT_GE(expectErrorForEachCall("worker:ftruncate", EIO, {writeFailed}), 2);
}

TEST_F(InjectedFaultsTest, EverySyncThatFailsIsAnErrorAndIsNotTriedAgain) {
    EXPECT_EQ(expectErrorForEachCall("library:fsync", EIO, {syncFailed}), 2) << "the file's and the folder's";
}

TEST_F(InjectedFaultsTest, ADiskThatIsFullWhenTheMp4IsSyncedIsSaidToBeFull) {
    EXPECT_TRUE(convertWith("library:fsync:1:" + std::to_string(ENOSPC)).result.saidError(diskFull));
}

TEST_F(InjectedFaultsTest, EveryCloseThatFailsIsAnError) {
    EXPECT_GE(expectErrorForEachCall("library:close", EIO, {closeFailed}), 2);
}

TEST_F(InjectedFaultsTest, EveryLinkThatFailsIsAnError) {
    EXPECT_EQ(expectErrorForEachCall("library:linkat", EIO, {publishFailed}), 1);
    EXPECT_EQ(expectErrorForEachCall("library:linkat", ENOSPC, {diskFull}), 1);
}

TEST_F(InjectedFaultsTest, ADiskThatIsFullWhenRoomIsReservedIsSaidToBeFull) {
    EXPECT_TRUE(convertWith("worker:fallocate:1:" + std::to_string(ENOSPC)).result.saidError(diskFull));
}

TEST_F(InjectedFaultsTest, TheIndexGoesIntoReservedRoom) {
    const auto outcome = convertWith("worker:insert:1:" + std::to_string(EIO));
    EXPECT_TRUE(outcome.result.saidHundred());
    EXPECT_EQ(outcome.hits, 0U) << "the room reserved was enough";
    const std::string bytes = contentOf(destination());
    EXPECT_LT(bytes.find("moov"), bytes.find("mdat"));
}

TEST_F(InjectedFaultsTest, ABitThatFlipsBeforeTheProofIsNoSuccess) {
    // In the file type, in the index, and in the data of both tracks.
    const auto bits = [](std::size_t byte) { return byte * 8 + byte % 8; };
    ASSERT_TRUE(convertWith("nobody:none:1:1").result.saidHundred());
    const std::string bytes = contentOf(destination());
    const std::size_t data = bytes.find("mdat");
    for (const std::size_t byte : {std::size_t{9}, bytes.find("stts") + 9, bytes.find("avcC") + 6, data + 10,
                                   data + (bytes.size() - data) / 2, bytes.size() - 1}) {
        const auto outcome = convertWith("nobody:none:1:1", {"FLIP=" + std::to_string(bits(byte))});
        EXPECT_TRUE(outcome.result.saidError(proofFailed)) << byte << ": " << outcome.result.output;
    }
}

TEST_F(InjectedFaultsTest, WithoutUnnamedFilesAHiddenOneIsRenamed) {
    const auto outcome = convertWith("nobody:none:1:1", {"NO_UNNAMED_FILES=1"});
    EXPECT_TRUE(outcome.result.saidHundred());
}

TEST_F(InjectedFaultsTest, WithoutUnnamedFilesAndNoReplaceTheHiddenOneIsLinked) {
    const auto outcome = convertWith("nobody:none:1:1", {"NO_UNNAMED_FILES=1", "NO_RENAME_NOREPLACE=1"});
    EXPECT_TRUE(outcome.result.saidHundred());
}

TEST_F(InjectedFaultsTest, WithoutUnnamedFilesNoReplaceAndLinksTheNameIsStillNobodyElses) {
    const std::string noLinks = "library:linkat:1:" + std::to_string(EPERM) + ":all";
    const std::vector<std::string> poor = {"NO_UNNAMED_FILES=1", "NO_RENAME_NOREPLACE=1"};
    EXPECT_TRUE(convertWith(noLinks, poor).result.saidHundred());
}

TEST_F(InjectedFaultsTest, AHiddenFileIsGoneAfterEveryFault) {
    const std::vector<std::string> poor = {"NO_UNNAMED_FILES=1"};
    EXPECT_GE(expectErrorForEachCall("worker:pwrite", ENOSPC, {diskFull}, poor), 4);
    EXPECT_EQ(expectErrorForEachCall("library:fsync", EIO, {syncFailed}, poor), 2);
    EXPECT_EQ(expectErrorForEachCall("library:renameat2", EIO, {publishFailed}, poor), 1);
}

TEST_F(InjectedFaultsTest, AllocationsThatFailInTheWorkerEndInAnErrorOrAWholeMp4) {
    int errors = 0;
    for (int n = 1; n < 6000; n = n * 5 / 3 + 1) {
        errors += convertWith("worker:malloc:" + std::to_string(n) + ":" + std::to_string(ENOMEM) + ":all")
                          .result.saidHundred()
                      ? 0
                      : 1;
    }
    EXPECT_GE(errors, 10);
}

TEST_F(InjectedFaultsTest, OneAllocationThatFailsInTheWorkerEndsInAnErrorOrAWholeMp4) {
    int hits = 0;
    for (const int n : {1, 5, 20, 60, 150, 400, 1000, 1700, 1762, 1850, 2200, 2400, 3000}) {
        hits += convertWith("worker:malloc:" + std::to_string(n) + ":" + std::to_string(ENOMEM)).hits > 0 ? 1 : 0;
    }
    EXPECT_GE(hits, 10);
}

TEST_F(InjectedFaultsTest, OneAllocationThatFailsInTheLibraryEndsInAnErrorOrAWholeMp4) {
    // The first ones belong to the program that loads the library.
    constexpr int ofLoading = 6;
    int errors = 0;
    for (int n = ofLoading + 1; n < ofLoading + 40; ++n) {
        const auto outcome = convertWith("library:malloc:" + std::to_string(n) + ":" + std::to_string(ENOMEM));
        errors += outcome.result.saidError(outOfMemory) ? 1 : 0;
    }
    EXPECT_GE(errors, 5);
}

TEST_F(InjectedFaultsTest, AClockThatIsSetBackAgainAndAgainChangesNothing) {
    EXPECT_TRUE(convertWith("nobody:none:1:1", {"CLOCK_BACK=1"}).result.saidHundred());
    // The recording then seems to come from the future.
    fs::last_write_time(source_, fs::file_time_type::clock::now() + std::chrono::hours(24 * 365));
    const auto time = fs::last_write_time(source_);
    EXPECT_TRUE(convertWith("nobody:none:1:1", {"CLOCK_BACK=1"}).result.saidHundred());
    EXPECT_EQ(fs::last_write_time(destination()), time);
}

TEST_F(InjectedFaultsTest, ReservedRoomThatIsTooSmallIsMadeByInsertingARangeOrMovingTheData) {
    // A thousand frames a second, and a header that announces a moment: the index exceeds any estimate.
    const std::string base = samples::make(
        "mkv", {"-vf", "scale=32:32,fps=1000", "-c:v", "libx264", "-preset", "ultrafast", "-bf", "2", "-c:a", "ac3"},
        30);
    std::string bytes = contentOf(base);
    const auto duration = bytes.find("\x44\x89\x88");
    ASSERT_NE(duration, std::string::npos);
    bytes.replace(duration + 3, 8, std::string("\x3F\xF0\x00\x00\x00\x00\x00\x00", 8));
    source_ = put("a.mkv", bytes);
    content_ = bytes;
    const std::string noInserting = "worker:insert:1:" + std::to_string(EOPNOTSUPP) + ":all";
    for (const std::string& fault : {std::string("nobody:none:1:1"), noInserting}) {
        const auto outcome = convertWith(fault);
        EXPECT_TRUE(outcome.result.saidHundred());
        EXPECT_EQ(outcome.hits, fault == noInserting ? 1U : 0U) << "the reserved room should have been too small";
        const std::string result = contentOf(destination());
        EXPECT_LT(result.find("moov"), result.find("mdat"));
        EXPECT_EQ(packetCounts(destination()).front(), 30000);
    }
}

class DamagedCopyTest : public InjectedFaultsTest {
protected:
    DamagedCopyTest() {
        useLargerSource();
        std::fill_n(content_.begin() + static_cast<std::ptrdiff_t>(content_.size() / 2), content_.size() / 8, '\0');
        put("a.mkv", content_);
    }

    /// Converts on a file system without links for the recording's second name.
    ProcessResult convertWithFault(const std::string& fault) {
        return convertInProcess(source_, destination(), {"LD_PRELOAD=" MEDIACONVERTER_FAULTS, "FAULT=" + fault});
    }

    static constexpr const char* copyName = "a (damaged).mkv";
    const std::string noLink_ = "library:linkat:1:" + std::to_string(EPERM);
};

TEST_F(DamagedCopyTest, WhereThereAreNoLinksTheDataIsCopied) {
    EXPECT_TRUE(convertWithFault(noLink_).saidHundred());
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{copyName, "a.mkv", "out.mp4"}));
    EXPECT_TRUE(contentOf(folder_.file(copyName)) == content_);
    EXPECT_FALSE(fs::equivalent(folder_.file(copyName), source_)) << "a copy, not a link";
}

TEST_F(DamagedCopyTest, ALinkThatFailsIsAnErrorAndNothingIsLeft) {
    const auto result = convertWithFault("library:linkat:1:" + std::to_string(EIO));
    EXPECT_TRUE(result.saidError(damagedCopyNotKept)) << result.output;
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
    EXPECT_TRUE(contentOf(source_) == content_);
}

TEST_F(DamagedCopyTest, ASecondNameThatDoesNotReachTheDiskIsAnErrorAndNothingIsLeft) {
    // The MP4 is synced first, then the recording's folder.
    const auto result = convertWithFault("library:fsync:2:" + std::to_string(EIO));
    EXPECT_TRUE(result.saidError(damagedCopyNotKept)) << result.output;
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
}

TEST_F(DamagedCopyTest, WhenTheMp4GetsNoNameTheSecondNameIsTakenBack) {
    const auto result = convertWithFault("library:linkat:2:" + std::to_string(EIO));
    EXPECT_TRUE(result.saidError(publishFailed)) << result.output;
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
}

TEST_F(InjectedFaultsTest, FileSizeLimitIsAnErrorAndNoDeath) {
    fs::remove(destination());
    const auto result = convertInProcess(source_, destination(), {}, {"prlimit", "--fsize=20000"});
    EXPECT_EQ(result.status, 0) << "no death by signal";
    EXPECT_TRUE(result.saidError(fileTooLarge)) << result.output;
    EXPECT_EQ(folder_.names().size(), 1U);
}

}  // namespace
