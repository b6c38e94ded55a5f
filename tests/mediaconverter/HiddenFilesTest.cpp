#include "mediaconverter/FaultTest.h"
#include "mediaconverter/Processes.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

// All promises about the destination also hold on file systems without unnamed files, in the same order.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

const std::string preload = "LD_PRELOAD=" MEDIACONVERTER_FAULTS;

/// With unnamed files and without.
class DestinationTest : public FaultTest, public testing::WithParamInterface<bool> {
protected:
    DestinationTest() : source_(put("a.mkv", contentOf(samples::matroska()))) {}

    static Words environment(Words more = {}) {
        more.insert(more.begin(), preload);
        if (!GetParam()) {
            more.emplace_back("NO_UNNAMED_FILES=1");
        }
        return more;
    }

    /// The command that runs a conversion in a separate process.
    Words command(const std::string& source, const std::string& target) const {
        Words words = {"env"};
        const Words variables = environment();
        words.insert(words.end(), variables.begin(), variables.end());
        words.insert(words.end(), {convertOne(), shippedLibrary(), source, target});
        return words;
    }

    /// Waits until the process has its output file, so that the next step happens during the conversion.
    void waitForOutput(const Process& process) const {
        for (int attempt = 0; attempt < 5000 && !workerOf(process.id()); ++attempt) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    /// Takes a while to convert: raw video that is encoded.
    std::string slowSource() {
        return put("slow.mkv", contentOf(samples::make("mkv", {"-an", "-c:v", "rawvideo", "-pix_fmt", "yuv420p"}, 8)));
    }

    std::string source_;
};

TEST_P(DestinationTest, AFileThatAppearsWhileConvertingStays) {
    const std::string source = slowSource();
    Process process(command(source, destination()));
    waitForOutput(process);
    put("out.mp4", "somebody's");
    process.wait();
    EXPECT_EQ(contentOf(destination()), "somebody's");
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.mkv", "out.mp4", "slow.mkv"}));
}

TEST_P(DestinationTest, AnotherConversionInTheFolderLeavesTheFirstAlone) {
    const std::string slow = slowSource();
    Process first(command(slow, folder_.file("slow.mp4")));
    waitForOutput(first);
    EXPECT_TRUE(convertInProcess(source_, destination(), environment()).saidHundred());
    EXPECT_FALSE(fs::exists(folder_.file("slow.mp4"))) << "the first conversion should still be running";
    first.wait();
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.mkv", "out.mp4", "slow.mkv", "slow.mp4"}));
}

TEST_P(DestinationTest, OfTwoConvertersWithOneDestinationOneHasIt) {
    const std::string slow = slowSource();
    Process first(command(slow, destination()));
    Process second(command(slow, destination()));
    first.wait();
    second.wait();
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.mkv", "out.mp4", "slow.mkv"}));
    EXPECT_EQ(packetCounts(destination()), packetCounts(slow));
}

/// The calls that write names and data to the disk, in order.
std::vector<std::string> callsIn(const std::string& trace) {
    std::vector<std::string> calls;
    std::ifstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        for (const char* call : {"fsync(", "linkat(", "renameat2("}) {
            if (line.find(call) != std::string::npos && line.find(" = 0") != std::string::npos) {
                calls.push_back(std::string(call).substr(0, std::string(call).size() - 1));
            }
        }
    }
    return calls;
}

TEST_P(DestinationTest, TheNameIsGivenToSyncedDataAndSyncedItself) {
    const TemporaryFolder scratch;
    const std::string trace = scratch.file("trace");
    const auto result = convertInProcess(source_, destination(), environment(),
                                         {"strace", "-o", trace, "-e", "trace=fsync,linkat,renameat2"});
    EXPECT_TRUE(result.saidHundred()) << result.output;
    EXPECT_EQ(callsIn(trace), (std::vector<std::string>{"fsync", GetParam() ? "linkat" : "renameat2", "fsync"}));
}

TEST_P(DestinationTest, KilledAtRandomMomentsThereIsAWholeMp4OrNone) {
    const std::string content = contentOf(source_);
    ASSERT_TRUE(convertInProcess(source_, destination(), environment()).saidHundred());
    const std::string expected = contentOf(destination());
    std::mt19937 random(7);
    for (int kill = 0; kill < 15; ++kill) {
        fs::remove(destination());
        Process process(command(source_, destination()));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 250));
        process.signal(SIGKILL);
        process.wait();
        EXPECT_TRUE(contentOf(source_) == content);
        EXPECT_TRUE(!fs::exists(destination()) || contentOf(destination()) == expected) << "an incomplete MP4";
    }
    // A later conversion removes their files, once their workers have died as well.
    for (int attempt = 0; attempt < 100 && (folder_.names().size() != 2 || !fs::exists(destination())); ++attempt) {
        fs::remove(destination());
        convertInProcess(source_, destination(), environment());
    }
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.mkv", "out.mp4"}));
}

INSTANTIATE_TEST_SUITE_P(FileSystems, DestinationTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "WithUnnamedFiles" : "WithoutUnnamedFiles"; });

/// A damaged recording on a file system that has neither links nor unnamed files.
class CopiedSourceTest : public FaultTest {
protected:
    CopiedSourceTest() {
        content_ = contentOf(samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"}, 20));
        std::fill_n(content_.begin() + static_cast<std::ptrdiff_t>(content_.size() / 2), content_.size() / 8, '\0');
        source_ = put("a.mkv", content_);
    }

    ProcessResult convertWithFault(const std::string& fault) {
        fs::remove(destination());
        fs::remove(folder_.file("a (damaged).mkv"));
        fs::remove(hits_);
        return convertInProcess(source_, destination(),
                                {preload, "NO_UNNAMED_FILES=1", "NO_LINKS=1", "FAULT=" + fault, "FAULT_HIT=" + hits_});
    }

    bool hasHit() const { return !contentOf(hits_).empty(); }

    const TemporaryFolder scratch_;
    const std::string hits_ = scratch_.file("hits");
    std::string content_;
    std::string source_;
};

TEST_F(CopiedSourceTest, TheCopyAndItsNameAreSyncedBeforeTheMp4HasItsName) {
    // In this order: the MP4, the copy, the folder of the copy, the folder of the MP4.
    const std::vector<ConversionError> errors = {syncFailed, damagedCopyNotKept, damagedCopyNotKept, syncFailed};
    for (std::size_t n = 0; n < errors.size(); ++n) {
        const auto result = convertWithFault("library:fsync:" + std::to_string(n + 1) + ":" + std::to_string(EIO));
        EXPECT_TRUE(result.saidError(errors[n])) << n << "\n" << result.output;
        EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"}) << n;
    }
    EXPECT_TRUE(convertWithFault("library:fsync:5:" + std::to_string(EIO)).saidHundred());
    EXPECT_TRUE(contentOf(folder_.file("a (damaged).mkv")) == content_);
}

TEST_F(CopiedSourceTest, EveryInterruptedReadIsTriedAgain) {
    int interrupted = 0;
    do {
        const auto result =
            convertWithFault("library:pread:" + std::to_string(++interrupted) + ":" + std::to_string(EINTR));
        EXPECT_TRUE(result.saidHundred()) << interrupted << "\n" << result.output;
        EXPECT_TRUE(contentOf(folder_.file("a (damaged).mkv")) == content_) << interrupted;
    } while (hasHit() && !HasFailure());
    EXPECT_GT(interrupted, 2) << "the check of the MP4 and the copy both read";
}

/// Interrupted system calls, anywhere.
class InterruptedTest : public FaultTest, public testing::WithParamInterface<const char*> {};

TEST_P(InterruptedTest, AreMadeAgain) {
    const std::string source = put("a.mkv", contentOf(samples::matroska()));
    for (int n = 1; n <= 12; ++n) {
        fs::remove(destination());
        const auto result = convertInProcess(source, destination(),
                                             {preload, std::string("FAULT=library:") + GetParam() + ":" +
                                                           std::to_string(n) + ":" + std::to_string(EINTR)});
        EXPECT_TRUE(result.saidHundred()) << n << "\n" << result.output;
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, InterruptedTest, testing::Values("read", "poll", "wait4", "pread"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
