#include "mediaconverter/FaultTest.h"
#include "mediaconverter/InsideWorker.h"
#include "mediaconverter/Processes.h"
#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/worker/confinement/Barriers.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

// The rights that the worker has given up before it looks at a recording, tested from inside.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

TEST(IsolationTest, LandlockClosesTheFileSystem) {
    const TemporaryFolder folder;
    expectInside([&](worker::Reporter& reporter) {
        worker::barriers::closeFileSystem(reporter);
        EXPECT_TRUE(isRefused(::open("/etc/passwd", O_RDONLY)));
        EXPECT_TRUE(isRefused(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY)));
        EXPECT_TRUE(isRefused(::open(folder.file("new").c_str(), O_CREAT | O_WRONLY, 0600)));
        EXPECT_TRUE(isRefused(::mkdir(folder.file("sub").c_str(), 0700)));
        EXPECT_EQ(::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0), 1);
    });
}

TEST(IsolationTest, WhatIsOpenStaysUsableBehindLandlock) {
    const TemporaryFolder folder;
    writeFile(folder.file("a"), "content");
    expectInside([&](worker::Reporter& reporter) {
        const int file = ::open(folder.file("a").c_str(), O_RDWR);
        worker::barriers::closeFileSystem(reporter);
        char byte = 0;
        EXPECT_EQ(::pread(file, &byte, 1, 0), 1);
        EXPECT_EQ(byte, 'c');
        EXPECT_EQ(::pwrite(file, &byte, 1, 20), 1);
        EXPECT_EQ(::ftruncate(file, 4), 0);
    });
}

/// Each call with seccomp alone, so that no other barrier can refuse it.
bool isRefusedBySeccomp(const std::function<long()>& attempt) {
    return holdsInside([&](worker::Reporter& reporter) {
        worker::barriers::closeSystemCalls(reporter, 1000);
        return isRefused(attempt());
    });
}

TEST(IsolationTest, SeccompRefusesFiles) {
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::syscall(SYS_openat, AT_FDCWD, "/etc/passwd", O_RDONLY); }));
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::syscall(SYS_unlinkat, AT_FDCWD, "/nothing", 0); }));
#ifdef SYS_open  // newer architectures lack the older calls
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::syscall(SYS_open, "/etc/passwd", O_RDONLY); }));
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::syscall(SYS_unlink, "/nothing"); }));
#endif
}

TEST(IsolationTest, SeccompRefusesToLookAtFilesByTheirNames) {
    struct stat status = {};
    struct statx more = {};
    EXPECT_TRUE(isRefusedBySeccomp([&] { return ::syscall(SYS_newfstatat, AT_FDCWD, "/etc/passwd", &status, 0); }));
    // A filter cannot see that the name is not empty.
    EXPECT_TRUE(
        isRefusedBySeccomp([&] { return ::syscall(SYS_newfstatat, AT_FDCWD, "/etc/passwd", &status, AT_EMPTY_PATH); }));
    EXPECT_TRUE(isRefusedBySeccomp(
        [&] { return ::syscall(SYS_statx, AT_FDCWD, "/etc/passwd", AT_EMPTY_PATH, STATX_ALL, &more); }));
}

/// Reserves room in an empty file that is the worker's output, for a source of 1000 bytes.
bool isReservingRefused(int mode, std::int64_t offset, std::int64_t length) {
    const TemporaryFolder folder;
    writeFile(folder.file("out"), "");
    return holdsInside([&](worker::Reporter& reporter) {
        const int file = ::open(folder.file("out").c_str(), O_RDWR);
        ::dup2(file, mediaconverter::descriptor::output);
        worker::barriers::closeSystemCalls(reporter, 1000);
        return isRefused(::fallocate(mediaconverter::descriptor::output, mode, offset, length));
    });
}

TEST(IsolationTest, SeccompRefusesToReserveMoreThanTheOutputMayTake) {
    constexpr std::int64_t limit = std::int64_t{1} << 30U;
    EXPECT_TRUE(isReservingRefused(FALLOC_FL_KEEP_SIZE, 0, 20 * limit));
    EXPECT_TRUE(isReservingRefused(FALLOC_FL_KEEP_SIZE, 0, limit + 1));
    EXPECT_TRUE(isReservingRefused(FALLOC_FL_KEEP_SIZE, 20 * limit, 4096));
    EXPECT_TRUE(isReservingRefused(0, 0, 4096));
    EXPECT_TRUE(isReservingRefused(FALLOC_FL_INSERT_RANGE, 0, 2 * limit));
    EXPECT_FALSE(isReservingRefused(FALLOC_FL_KEEP_SIZE, 0, 4096));
}

TEST(IsolationTest, ThreadsAreLimited) {
    expectInside([](worker::Reporter& reporter) {
        // The kernel exempts the superuser.
        constexpr uid_t nobody = 65534;
        if (::geteuid() == 0) {
            ASSERT_EQ(::setresuid(nobody, nobody, nobody), 0);
        }
        worker::barriers::limitThreads(reporter);
        std::vector<std::thread> threads;
        std::atomic<bool> ends{false};
        try {
            while (threads.size() < 200) {
                threads.emplace_back([&] {
                    while (!ends) {
                        std::this_thread::sleep_for(std::chrono::milliseconds(1));
                    }
                });
            }
        } catch (const std::system_error&) {
        }
        ends = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_GE(threads.size(), 40U);
        EXPECT_LT(threads.size(), 64U);
    });
}

TEST(IsolationTest, SeccompRefusesTheNetwork) {
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::socket(AF_INET, SOCK_STREAM, 0); }));
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::socket(AF_UNIX, SOCK_STREAM, 0); }));
}

TEST(IsolationTest, SeccompRefusesProcesses) {
#ifdef SYS_fork
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::syscall(SYS_fork); }));
#endif
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0); }));
    EXPECT_TRUE(isRefusedBySeccomp([] {
        char name[] = "/bin/true";
        char* arguments[] = {name, nullptr};
        return ::execve(name, arguments, nullptr);
    }));
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::kill(::getppid(), 0); }));
    EXPECT_TRUE(isRefusedBySeccomp([] { return ::ptrace(PTRACE_ATTACH, ::getppid(), nullptr, nullptr); }));
}

TEST(IsolationTest, SeccompLetsThreadsAndMemoryBe) {
    expectInside([](worker::Reporter& reporter) {
        worker::barriers::closeSystemCalls(reporter, 1000);
        int value = 0;
        std::thread([&] { value = 7; }).join();
        void* const memory = ::mmap(nullptr, 1U << 20U, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_EQ(value, 7);
        EXPECT_NE(memory, MAP_FAILED);
    });
}

TEST(IsolationTest, ResourcesAreLimited) {
    // The tests themselves may run at a lower priority; 19 is the lowest there is.
    const int priority = std::min(::getpriority(PRIO_PROCESS, 0) + 10, 19);
    expectInside([priority](worker::Reporter& reporter) {
        const auto limitOf = [](__rlimit_resource resource) {
            rlimit limit = {};
            ::getrlimit(resource, &limit);
            return limit.rlim_max;
        };
        // Most systems begin with a soft limit of 0, which would hide that the worker sets it.
        const rlimit cores = {limitOf(RLIMIT_CORE), limitOf(RLIMIT_CORE)};
        ASSERT_EQ(::setrlimit(RLIMIT_CORE, &cores), 0);
        worker::barriers::limitResources(reporter, 1000);
        EXPECT_LE(limitOf(RLIMIT_NOFILE), 16U);
        EXPECT_EQ(limitOf(RLIMIT_CORE), 0U);
        EXPECT_EQ(limitOf(RLIMIT_FSIZE), 1U << 30U);
        EXPECT_LE(limitOf(RLIMIT_AS), rlim_t{4} << 30U);
        EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), priority);
        EXPECT_EQ(::syscall(SYS_ioprio_get, 1, 0), 2 << 13 | 7);
    });
}

TEST(IsolationTest, DiesWithItsParent) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const pid_t parent = ::fork();
    if (parent == 0) {
        const pid_t child = ::fork();
        if (child == 0) {
            worker::barriers::bindToParent(ends[1]);
            const pid_t self = ::getpid();
            static_cast<void>(!::write(ends[1], &self, sizeof self));
            ::pause();
        }
        ::pause();
    }
    pid_t child = 0;
    ASSERT_EQ(::read(ends[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));
    ::kill(parent, SIGKILL);
    ::waitpid(parent, nullptr, 0);
    EXPECT_TRUE(waitUntilGone(child));
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(IsolationTest, AWorkerAtWorkHasThreeDescriptorsAndStandsBehindEveryBarrier) {
    const TemporaryFolder folder;
    const std::string source = samples::make("nut", {"-an", "-c:v", "rawvideo"}, 8);
    RecordingSink sink;
    std::vector<std::string> descriptors;
    std::string seccomp;
    std::string privileges;
    sink.inCallback = [&] {
        const auto worker = workerOf(::getpid());
        // By the second report it is reading the recording, so all barriers are in place.
        if (!worker || sink.count() != 2) {
            return;
        }
        seccomp = statusLine(*worker, "Seccomp");
        privileges = statusLine(*worker, "NoNewPrivs");
        for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(*worker) + "/fd")) {
            descriptors.push_back(entry.path().filename().string());
        }
    };
    convert(source, folder.file("out.mp4"), sink);
    ASSERT_TRUE(sink.isSuccess());
    EXPECT_EQ(seccomp, "2");
    EXPECT_EQ(privileges, "1");
    std::sort(descriptors.begin(), descriptors.end());
    EXPECT_EQ(descriptors, (std::vector<std::string>{"0", "1", "2", "3", "4", "5"})) << "0 to 2 lead nowhere";
}

TEST(IsolationTest, NoOtherFileAndNoSocketIsOpenedWhateverAPlaylistSays) {
    const TemporaryFolder folder;
    for (const std::string& content :
         {std::string("#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:9,\n/etc/passwd\n#EXT-X-ENDLIST\n"),
          std::string("ffconcat version 1.0\nfile '/etc/passwd'\n"), contentOf(samples::matroska())}) {
        const std::string source = folder.file("a.mkv");
        writeFile(source, content);
        const std::string trace = folder.file("trace");
        runQuietly({"strace", "-f", "-o", trace, "-e", "trace=open,openat,socket,connect,seccomp", convertOne(),
                    shippedLibrary(), source, folder.file("out.mp4")});
        std::ifstream lines(trace);
        std::string application;
        bool isClosed = false;
        for (std::string line; std::getline(lines, line);) {
            const std::string process = line.substr(0, line.find(' '));
            application = application.empty() ? process : application;
            isClosed = isClosed || line.find("seccomp(SECCOMP_SET_MODE_FILTER") != std::string::npos;
            const bool opens = line.find("open") != std::string::npos || line.find("socket(") != std::string::npos;
            if (isClosed && process != application && opens) {
                EXPECT_NE(line.find(" = -1 "), std::string::npos) << line;
            }
        }
        EXPECT_TRUE(isClosed);
        fs::remove(folder.file("out.mp4"));
    }
}

}  // namespace
