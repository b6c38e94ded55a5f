#include "KTRRunningProcesses.h"
#include "platform/linux/LinuxBackgroundExecutor.h"
#include "platform/linux/LinuxProcessIdentities.h"
#include "platform/linux/LinuxRunningApplications.h"
#include "platform/linux/Memory.h"
#include "platform/linux/ProcProcessTable.h"
#include "platform/linux/SyslogSystemLog.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <malloc.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <variant>
#include <vector>

namespace {

/// A child that lives until told to end.
class Child {
public:
    /// `prepare` runs in the child first; it must be async-signal-safe.
    explicit Child(void (*prepare)() = [] {}) {
        int ready[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ready, O_CLOEXEC), 0);
        id_ = ::fork();
        if (id_ == 0) {
            prepare();
            ::close(ready[0]);
            ::close(ready[1]);
            for (;;) {
                ::pause();
            }
        }
        ::close(ready[1]);
        char end = 0;
        EXPECT_EQ(::read(ready[0], &end, 1), 0) << "the child is prepared";
        ::close(ready[0]);
    }
    ~Child() {
        kill();
        reap();
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    std::int32_t id() const { return id_; }

    /// Ends it and waits until it is a zombie.
    void kill() const {
        if (!isReaped_) {
            ::kill(id_, SIGKILL);
            siginfo_t information{};
            ::waitid(P_PID, static_cast<::id_t>(id_), &information, WEXITED | WNOWAIT);
        }
    }
    void reap() {
        if (!isReaped_) {
            ::waitpid(id_, nullptr, 0);
            isReaped_ = true;
        }
    }

private:
    std::int32_t id_ = -1;
    bool isReaped_ = false;
};

/// In the kernel's one line about a process its name precedes the state.
void takeConfusingName() {
    ::prctl(PR_SET_NAME, "a) Z 1 (b");
}

void becomeNobody() {
    constexpr ::uid_t nobody = 65534;
    ::syscall(SYS_setresuid, nobody, nobody, nobody);
}

/// A process of another user: one of our own if we may make it, else the first of all, which is root's.
std::int32_t processOfAnother(std::optional<Child>& child) {
    if (::getuid() != 0) {
        return 1;
    }
    child.emplace(becomeNobody);
    return child->id();
}

TEST(LinuxRunningApplicationsTest, AProcessOfThisUserRunsUntilItEndsAndAZombieHasEnded) {
    const platform::LinuxRunningApplications applications;
    Child child;
    EXPECT_TRUE(applications.isRunning(child.id()));
    child.kill();
    EXPECT_FALSE(applications.isRunning(child.id())) << "a zombie";
    child.reap();
    EXPECT_FALSE(applications.isRunning(child.id()));
}

TEST(LinuxRunningApplicationsTest, AProcessWhoseNameLooksLikeAnEndedOnesStateRuns) {
    const Child child(takeConfusingName);
    EXPECT_TRUE(platform::LinuxRunningApplications().isRunning(child.id()));
}

TEST(LinuxRunningApplicationsTest, AProcessOfAnotherUserDoesNotCount) {
    std::optional<Child> child;
    const std::int32_t other = processOfAnother(child);
    EXPECT_EQ(::kill(other, 0) == 0 || errno == EPERM, true) << "it lives";
    EXPECT_FALSE(platform::LinuxRunningApplications().isRunning(other));
}

TEST(LinuxProcessIdentitiesTest, AProcessWhoseNameLooksLikeAnEndedOnesStateIsAlive) {
    const platform::LinuxProcessIdentities identities;
    const Child child(takeConfusingName);
    const auto identity = identities.identityOf(child.id());
    EXPECT_GT(identity.startTime, 1U);
    EXPECT_TRUE(identities.isAlive(identity));
}

/// Standard error as a file, for the lifetime of this object.
class StandardErrorFile {
public:
    StandardErrorFile() { ::dup2(file_, STDERR_FILENO); }
    ~StandardErrorFile() {
        ::dup2(former_, STDERR_FILENO);
        ::close(file_);
        ::close(former_);
        ::unsetenv("JOURNAL_STREAM");
    }
    StandardErrorFile(const StandardErrorFile&) = delete;
    StandardErrorFile& operator=(const StandardErrorFile&) = delete;

    /// From here on it looks like a stream into the journal.
    void becomeJournal() const {
        struct stat status = {};
        ASSERT_EQ(::fstat(file_, &status), 0);
        const auto name = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
        ASSERT_EQ(::setenv("JOURNAL_STREAM", name.c_str(), 1), 0);
    }

    std::string written() const {
        std::string text(400, '\0');
        text.resize(static_cast<std::size_t>(::pread(file_, text.data(), text.size(), 0)));
        return text;
    }

private:
    const int former_ = ::dup(STDERR_FILENO);
    const int file_ = ::open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
};

TEST(SyslogSystemLogTest, ALineStaysOneLineWhateverIsInIt) {
    const StandardErrorFile file;
    platform::SyslogSystemLog().write("one\ntwo\x1b[31m\x7f");
    EXPECT_EQ(file.written(), "record-converter: one two [31m \n");
}

TEST(SyslogSystemLogTest, TheJournalGetsTheSeverityOfEachLine) {
    const StandardErrorFile file;
    file.becomeJournal();
    platform::SyslogSystemLog log;
    log.write("a");
    log.write("b", platform::Severity::warning);
    log.write("c", platform::Severity::error);
    EXPECT_EQ(file.written(), "<5>record-converter: a\n<4>record-converter: b\n<3>record-converter: c\n");
}

TEST(LinuxRunningApplicationsTest, ThisProcessRuns) {
    EXPECT_TRUE(platform::LinuxRunningApplications().isRunning(::getpid()));
}

TEST(LinuxRunningApplicationsTest, IdsThatNameNoProcessDoNotRun) {
    const platform::LinuxRunningApplications applications;
    for (const std::int32_t id : {0, -1, 2147483647, -2147483647 - 1}) {
        EXPECT_FALSE(applications.isRunning(id)) << id;
    }
}

TEST(ProcProcessTableTest, ListsThisProcessWithItsNameAndUser) {
    const platform::ProcProcessTable table;
    std::size_t bytes = 0;
    ASSERT_EQ(table.size(bytes), 0);
    EXPECT_GT(bytes, 0U);
    bytes += 64 * sizeof(platform::KernelProcess);
    std::vector<platform::KernelProcess> records(bytes / sizeof(platform::KernelProcess));
    ASSERT_EQ(table.read(records.data(), bytes), 0);
    records.resize(bytes / sizeof(platform::KernelProcess));
    const auto own =
        std::find_if(records.begin(), records.end(), [](const auto& record) { return record.processId == ::getpid(); });
    ASSERT_NE(own, records.end());
    EXPECT_EQ(std::string(own->command.data()), std::string("linux_provider_tests").substr(0, 15));
    EXPECT_EQ(own->effectiveUserId, ::geteuid());
    EXPECT_TRUE(std::is_sorted(records.begin(), records.end(),
                               [](const auto& left, const auto& right) { return left.processId < right.processId; }));
}

TEST(ProcProcessTableTest, ATableThatOutgrowsItsRoomSaysSo) {
    std::size_t bytes = 0;
    platform::KernelProcess one{};
    EXPECT_EQ(platform::ProcProcessTable().read(&one, bytes), ENOMEM);
}

TEST(ProcProcessTableTest, IdsAreGivenAsFarAsTheRoomGoes) {
    const platform::ProcProcessTable table;
    EXPECT_GE(table.listProcessIds(nullptr, 0), sizeof(std::int32_t));
    std::int32_t first = 0;
    EXPECT_EQ(table.listProcessIds(&first, sizeof first), sizeof first);
    EXPECT_GT(first, 0);
}

TEST(ProcProcessTableTest, KnowsWhatThisProcessExecutesAndNothingOfNoProcess) {
    const platform::ProcProcessTable table;
    EXPECT_EQ(table.executablePath(::getpid()), std::filesystem::read_symlink("/proc/self/exe").string());
    EXPECT_EQ(table.executablePath(0), "");
    EXPECT_EQ(table.executablePath(-1), "");
}

TEST(ProcProcessTableTest, KnowsUsersByTheUserDatabase) {
    const platform::ProcProcessTable table;
    EXPECT_EQ(table.loginName(0), "root");
    EXPECT_EQ(table.loginName(4294967000U), std::nullopt);
}

class KTRRunningProcessesOnLinuxTest : public testing::Test {
protected:
    KTRRunningProcessesOnLinuxTest() { platform::ProcessTable::setStandard(&table_); }
    ~KTRRunningProcessesOnLinuxTest() override { platform::ProcessTable::setStandard(nullptr); }

private:
    const platform::ProcProcessTable table_;
};

TEST_F(KTRRunningProcessesOnLinuxTest, TheListHasARecordOfThisProcessWithItsOwnId) {
    const auto records = KTRRunningProcesses::getBSDProcessList();
    const KTRRunningProcesses::Value own = std::int32_t{::getpid()};
    EXPECT_EQ(std::count_if(records.begin(), records.end(),
                            [&](const auto& record) { return record.at("processID") == own; }),
              1);
}

TEST_F(KTRRunningProcessesOnLinuxTest, ThePathsHoldThisProgram) {
    testing::internal::CaptureStdout();
    KTRRunningProcesses::printProcesses();
    const std::string own = "path: " + std::filesystem::read_symlink("/proc/self/exe").string() + '\n';
    EXPECT_NE(testing::internal::GetCapturedStdout().find(own), std::string::npos);
}

TEST(LinuxBackgroundExecutorTest, RunsTasksElsewhereAtTheLowestPriorityAndWaitsForThemAtItsEnd) {
    std::thread::id thread;
    int priority = 0;
    {
        platform::LinuxBackgroundExecutor executor;
        executor.async([&] {
            executor.sleep(std::chrono::duration<double>(0));
            thread = std::this_thread::get_id();
            priority = ::getpriority(PRIO_PROCESS, 0);
        });
    }
    EXPECT_NE(thread, std::thread::id());
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(priority, 19);
    EXPECT_NE(::getpriority(PRIO_PROCESS, 0), 19) << "the priority of its thread alone";
}

// The sanitizers replace the allocator.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(MemoryTest, AFreedPictureGoesBackToTheSystemAndSoDoTheNext) {
    platform::keepMemoryTogether();
    // A block that fits into what is left of the heap is taken from there.
    std::vector<std::unique_ptr<char[]>> rest;
    while (::mallinfo2().keepcost >= std::size_t{64} * 1024) {
        rest.push_back(std::make_unique<char[]>(std::size_t{32} * 1024));
    }
    const auto mapped = [] { return ::mallinfo2().hblkhd; };
    const auto before = mapped();
    const auto picture = [] { return std::make_unique<char[]>(std::size_t{300} * 1024); };
    for (int i = 0; i < 3; ++i) {
        const auto first = picture();
        EXPECT_GE(mapped(), before + std::size_t{300} * 1024);
        const auto second = picture();
        EXPECT_GE(mapped(), before + 2 * std::size_t{300} * 1024) << "the first one freed has changed nothing";
    }
    EXPECT_EQ(mapped(), before);
}

TEST(MemoryTest, SmallBlocksThatAThreadKeepsForItsNextAreGivenBack) {
    platform::returnFreedMemory();
    const auto held = [] { return ::mallinfo2().uordblks; };
    const auto before = held();
    {
        std::vector<std::unique_ptr<char[]>> blocks;
        for (std::size_t size = 24; size <= 1032; size += 16) {
            for (int i = 0; i < 7; ++i) {
                blocks.push_back(std::make_unique<char[]>(size));
            }
        }
    }
    ASSERT_GE(held(), before + 100'000) << "the thread keeps freed blocks";
    platform::returnFreedMemory();
    EXPECT_LE(held(), before + 10'000);
}

TEST(MemoryTest, AFreedSmallBlockJoinsItsNeighboursAtOnce) {
    platform::keepMemoryTogether();
    const auto waiting = [] { return ::mallinfo2().fsmblks; };
    {
        std::vector<std::unique_ptr<char[]>> blocks(100);
        std::ranges::generate(blocks, [] { return std::make_unique<char[]>(40); });
    }
    EXPECT_EQ(waiting(), 0U);
}
#endif

}  // namespace
