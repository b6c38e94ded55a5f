#include "mediaconverter/InjectedFaultsTest.h"

#include <cerrno>

// A failing system call while a recording becomes the data of its MP4.

namespace {

using namespace mediatest;
using enum ConversionError;

/// A recording that becomes the MP4's data as it is.
class SharedRecordingFaultsTest : public InjectedFaultsTest {
protected:
    SharedRecordingFaultsTest() { use(samples::matroska()); }
};

TEST_F(SharedRecordingFaultsTest, EveryReadThatFailsIsAnError) {
    EXPECT_GE(expectErrorForEachCall("worker:pread", EIO, {readFailed, proofFailed}), 8);
}

TEST_F(SharedRecordingFaultsTest, EveryWriteThatFailsIsAnError) {
    EXPECT_GE(expectErrorForEachCall("worker:pwrite", ENOSPC, {diskFull}), 1);
    EXPECT_GE(expectErrorForEachCall("worker:pwrite", EIO, {writeFailed}), 1);
    EXPECT_GE(expectErrorForEachCall("worker:ftruncate", EIO, {writeFailed}), 1);
}

TEST_F(SharedRecordingFaultsTest, AFullDiskWhileTheDataMovesIsSaidToBeFull) {
    for (const char* const call : {"worker:ioctl", "worker:copy_file_range", "worker:fallocate"}) {
        EXPECT_TRUE(convertWith(std::string(call) + ":1:" + std::to_string(ENOSPC)).result.saidError(diskFull)) << call;
    }
}

TEST_F(SharedRecordingFaultsTest, TheWorkerCopiesWhatTheKernelDoesNot) {
    const auto outcome = convertWith("worker:copy_file_range:1:" + std::to_string(EXDEV) + ":all");
    EXPECT_TRUE(outcome.result.saidHundred());
    EXPECT_EQ(outcome.hits, 1U);
}

}  // namespace
