#include "mediaconverter/ConversionError.h"
#include "mediaconverter/HostileApplication.h"
#include "mediaconverter/Processes.h"
#include "mediaconverter/RecordingSink.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// An abandoned conversion ends at once, whatever its worker does, and leaves no process.

namespace {

/// While set, no process is killed. Keeps the last one that should have been.
std::atomic<bool> sparesProcesses = false;
std::atomic<pid_t> spared = 0;

}  // namespace

/// Replaces the C library's function, in the media converter as well.
extern "C" __attribute__((visibility("default"))) int kill(pid_t process, int number) noexcept {
    if (sparesProcesses && number == SIGKILL) {
        spared = process;
        return 0;
    }
    return static_cast<int>(::syscall(SYS_kill, process, number));
}

namespace {

using namespace mediatest;
using enum mediaconverter::ConversionError;
using std::chrono::seconds;
using std::chrono::steady_clock;

/// In this process, so that the converter can be released from outside.
class AbandonedTest : public testing::TestWithParam<const char*> {
protected:
    explicit AbandonedTest(const std::string& how = GetParam())
        : application_(how), library_(dlopen(application_.library().c_str(), RTLD_NOW | RTLD_LOCAL)) {}
    ~AbandonedTest() override { dlclose(library_); }

    /// Converts, and releases the converter meanwhile. Returns how long the release took.
    steady_clock::duration abandon() {
        RecordingSink sink;
        auto converter = make(reinterpret_cast<CreateFunction>(dlsym(library_, "CreateMediaConverter")), sink);
        zed::IZedMediaConverter* const raw = converter.get();
        std::thread job([&] { raw->Convert(application_.source().c_str(), application_.destination().c_str(), 3, 4); });
        EXPECT_TRUE(sink.waitForCount(1));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const auto start = steady_clock::now();
        converter.reset();
        const auto taken = steady_clock::now() - start;
        job.join();
        EXPECT_EQ(sink.onlyError(), static_cast<int>(abandoned));
        return taken;
    }

    HostileApplication application_;
    void* library_;
};

TEST_P(AbandonedTest, EndsAtOnceWhateverTheWorkerDoes) {
    ASSERT_NE(library_, nullptr);
    EXPECT_LT(abandon(), seconds(4));
    EXPECT_TRUE(application_.isAsBefore());
    EXPECT_FALSE(hasChild()) << "a worker is left, dead or alive";
}

INSTANTIATE_TEST_SUITE_P(Workers, AbandonedTest,
                         testing::Values("half a message, then silence", "closed reports", "done without ending",
                                         "the same progress", "computing"),
                         [](const auto& test) {
                             std::string name = test.param;
                             std::erase_if(name,
                                           [](char c) { return std::isalpha(static_cast<unsigned char>(c)) == 0; });
                             return name;
                         });

class UnkillableWorkerTest : public AbandonedTest {
protected:
    UnkillableWorkerTest() : AbandonedTest("computing") {}
};

TEST_F(UnkillableWorkerTest, IsLeftToItselfAndReapedByALaterConversion) {
    ASSERT_NE(library_, nullptr);
    sparesProcesses = true;
    EXPECT_LT(abandon(), seconds(8));
    sparesProcesses = false;
    ASSERT_GT(spared, 0);
    EXPECT_EQ(::waitpid(spared, nullptr, WNOHANG), 0) << "it was to live on";
    ::kill(spared, SIGKILL);
    ASSERT_TRUE(waitUntilGone(spared));
    abandon();
    EXPECT_FALSE(hasChild()) << "a worker is left, dead or alive";
}

}  // namespace
