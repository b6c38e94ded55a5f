#include "mediaconverter/FaultTest.h"
#include "mediaconverter/Processes.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

// Whatever is killed, and whenever: the source is intact, and the final name has a complete MP4 or nothing.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;
using std::chrono::microseconds;
using std::chrono::steady_clock;

/// 30 moments, or the number in MEDIACONVERTER_KILLS.
int kills() {
    const char* const text = std::getenv("MEDIACONVERTER_KILLS");
    return text == nullptr ? 30 : std::atoi(text);
}

class KillTest : public FaultTest {
protected:
    KillTest()
        : source_(put("a.mkv",
                      contentOf(samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"}, 20)))),
          content_(contentOf(source_)) {
        const auto start = steady_clock::now();
        Process whole({convertOne(), shippedLibrary(), source_, destination()});
        whole.wait();
        duration_ = std::chrono::duration_cast<microseconds>(steady_clock::now() - start);
        expected_ = contentOf(destination());
        fs::remove(destination());
    }

    void expectWholeOrNothing() {
        EXPECT_TRUE(contentOf(source_) == content_);
        if (fs::exists(destination())) {
            EXPECT_TRUE(contentOf(destination()) == expected_) << "an incomplete MP4";
            fs::remove(destination());
        }
        EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
    }

    std::string source_;
    std::string content_;
    std::string expected_;
    microseconds duration_{};
};

TEST_F(KillTest, AKillAtARandomMomentLeavesAWholeMp4OrNone) {
    ASSERT_FALSE(expected_.empty());
    std::mt19937 random(static_cast<unsigned>(kills()));
    std::uniform_int_distribution<long> moment(0, duration_.count() * 5 / 4);
    for (int kill = 0; kill < kills(); ++kill) {
        Process process({convertOne(), shippedLibrary(), source_, destination()});
        std::this_thread::sleep_for(microseconds(moment(random)));
        const auto worker = workerOf(process.id());
        if (kill % 3 != 0 && worker) {
            ::kill(*worker, SIGKILL);
        }
        if (kill % 3 != 1) {
            process.signal(SIGKILL);
        }
        process.wait();
        if (worker) {
            EXPECT_TRUE(waitUntilGone(*worker)) << "a worker outlived its application";
        }
        expectWholeOrNothing();
    }
}

TEST_F(KillTest, ATerminationLeavesNoWorkerAndAWholeMp4OrNone) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        Process process({convertOne(), shippedLibrary(), source_, destination()});
        std::optional<pid_t> worker;
        for (int attempt = 0; attempt < 1000 && !worker; ++attempt) {
            worker = workerOf(process.id());
        }
        process.signal(signal);
        EXPECT_EQ(process.wait(), 128 + signal);
        ASSERT_TRUE(worker);
        EXPECT_TRUE(waitUntilGone(*worker));
        expectWholeOrNothing();
    }
}

#ifdef MEDIACONVERTER_FAULTS  // which simulates a file system without unnamed files
TEST_F(KillTest, AHiddenFileOfAKilledConverterIsRemovedByTheNext) {
    const std::vector<std::string> poor = {"env",
                                           "LD_PRELOAD=" MEDIACONVERTER_FAULTS,
                                           "NO_UNNAMED_FILES=1",
                                           convertOne(),
                                           shippedLibrary(),
                                           source_,
                                           destination()};
    Process process(poor);
    for (int attempt = 0; attempt < 2000 && folder_.names().size() < 2; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    process.signal(SIGKILL);
    process.wait();
    ASSERT_EQ(folder_.names().size(), 2U) << "killed too late";
    // The dead converter's worker holds the file's lock until it has died too.
    for (int attempt = 0; attempt < 100 && !fs::exists(destination()); ++attempt) {
        Process(poor).wait();
        if (folder_.names().size() > 2) {
            fs::remove(destination());
        }
    }
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.mkv", "out.mp4"}));
}
#endif

}  // namespace
