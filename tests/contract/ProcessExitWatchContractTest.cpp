#include "contract/EventLoop.h"
#include "platform/linux/PidfdProcessExitWatch.h"
#include "platform/qt/QtRunLoop.h"
#include "support/FakeProcessExitWatch.h"
#include "support/FakeSystemLog.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <gtest/gtest.h>
#include <seccomp.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

struct FakeHost {
    test::FakeProcessExitWatch watch;
    std::int32_t next = 1000;

    std::int32_t start() { return ++next; }
    void end(std::int32_t process) { watch.exit(process); }
    void settle() {}
};

/// Real processes that sleep until they are killed.
struct PidfdHost {
    platform::qt::QtRunLoop loop;
    platform::PidfdProcessExitWatch watch{loop};

    std::int32_t start() {
        const auto process = fork();
        if (process == 0) {
            for (;;) {
                pause();
            }
        }
        return process;
    }

    void end(std::int32_t process) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        test::turnFor(100ms);
    }

    void settle() { test::turnFor(100ms); }
};

template<typename Host>
class ProcessExitWatchContract : public ::testing::Test {
protected:
    void watch(std::int32_t process) {
        host.watch.watch(process, [this](std::int32_t id) { exited.push_back(id); });
    }

    std::vector<std::int32_t> exited;
    Host host;
};

using Hosts = ::testing::Types<FakeHost, PidfdHost>;
TYPED_TEST_SUITE(ProcessExitWatchContract, Hosts);

TYPED_TEST(ProcessExitWatchContract, ReportsAnExitOnceWithTheProcessId) {
    const auto process = this->host.start();
    this->watch(process);
    this->host.settle();
    EXPECT_TRUE(this->exited.empty());
    this->host.end(process);
    this->host.settle();
    EXPECT_EQ(this->exited, std::vector<std::int32_t>{process});
}

TYPED_TEST(ProcessExitWatchContract, ReportsEachOfTwoProcessesWithItsOwnId) {
    const auto first = this->host.start();
    const auto second = this->host.start();
    this->watch(first);
    this->watch(second);
    this->host.end(second);
    this->host.end(first);
    EXPECT_EQ(this->exited, (std::vector<std::int32_t>{second, first}));
}

TYPED_TEST(ProcessExitWatchContract, EachCallArmsAWatchOfItsOwn) {
    const auto process = this->host.start();
    this->watch(process);
    this->watch(process);
    this->host.end(process);
    EXPECT_EQ(this->exited, (std::vector<std::int32_t>{process, process}));
}

TYPED_TEST(ProcessExitWatchContract, StaysSilentAboutAProcessThatIsGoneAlready) {
    const auto process = this->host.start();
    this->host.end(process);
    this->watch(process);
    this->host.settle();
    EXPECT_TRUE(this->exited.empty());
}

TYPED_TEST(ProcessExitWatchContract, StaysSilentAboutIdsThatNameNoProcess) {
    this->watch(0);
    this->watch(-1);
    this->watch(-4711);
    this->host.settle();
    EXPECT_TRUE(this->exited.empty());
}

TEST(PidfdProcessExitWatch, LeavesNoDescriptorBehindOnceTheExitWasReported) {
    PidfdHost host;
    const auto process = host.start();
    const int before = dup(STDIN_FILENO);
    close(before);
    bool reported = false;
    host.watch.watch(process, [&](std::int32_t) { reported = true; });
    host.end(process);
    ASSERT_TRUE(reported);
    const int after = dup(STDIN_FILENO);
    close(after);
    EXPECT_EQ(after, before);
}

TEST(PidfdProcessExitWatch, TellsTheSystemLogWhenTheSystemRefusesAWatch) {
    PidfdHost host;
    const auto process = host.start();
    const test::FakeSystemLog log;
    // The filter stays with its thread forever.
    std::thread([&] {
        const auto filter = seccomp_init(SCMP_ACT_ALLOW);
        ASSERT_EQ(seccomp_rule_add(filter, SCMP_ACT_ERRNO(EMFILE), SCMP_SYS(pidfd_open), 0), 0);
        ASSERT_EQ(seccomp_load(filter), 0);
        seccomp_release(filter);
        host.watch.watch(process, [](std::int32_t) { FAIL(); });
    }).join();
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_NE(log.lines()[0].find(std::to_string(process)), std::string::npos) << log.lines()[0];
    host.end(process);
}

}  // namespace
