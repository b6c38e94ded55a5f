#include "mediaconverter/job/Writers.h"

#include "mediaconverter/FaultTest.h"
#include "mediaconverter/job/UniqueDescriptor.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

// Whether some process still writes a file, under any name, and which one.

namespace {

using namespace mediatest;
using mediaconverter::isOpenForWriting;
using mediaconverter::UniqueDescriptor;
namespace fs = std::filesystem;
using std::chrono::seconds;
using std::chrono::steady_clock;

/// Runs `work` in a separate process until the object is destroyed.
class Helper {
public:
    explicit Helper(const std::function<void()>& work) : id_(::fork()) {
        if (id_ == 0) {
            work();
            ::_exit(0);
        }
    }
    ~Helper() { end(); }
    Helper(const Helper&) = delete;
    Helper& operator=(const Helper&) = delete;

    pid_t id() const { return id_; }

    void end() {
        if (id_ > 0) {
            ::kill(id_, SIGKILL);
            ::waitpid(std::exchange(id_, -1), nullptr, 0);
        }
    }

private:
    pid_t id_;
};

/// The exit status of `inside` in a separate process, or 128 + the signal that ended it.
int statusOf(const std::function<int()>& inside) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(inside());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

class WritersTest : public FaultTest {
protected:
    WritersTest() : path_(put("talk.mkv", "some content")), reader_(::open(path_.c_str(), O_RDONLY | O_CLOEXEC)) {}

    bool isWritten() const { return isOpenForWriting(reader_.get()); }

    std::string path_;
    UniqueDescriptor reader_;
};

TEST_F(WritersTest, AFileThatNobodyHasOpenIsNotWritten) {
    EXPECT_FALSE(isWritten());
}

TEST_F(WritersTest, AReaderIsNoWriter) {
    const UniqueDescriptor other(::open(path_.c_str(), O_RDONLY));
    EXPECT_FALSE(isWritten());
}

TEST_F(WritersTest, AFileThatIsOpenForWritingIsWritten) {
    for (const int flags : {O_WRONLY, O_RDWR, O_WRONLY | O_APPEND}) {
        UniqueDescriptor writer(::open(path_.c_str(), flags));
        EXPECT_TRUE(isWritten()) << flags;
        writer.close();
        EXPECT_FALSE(isWritten()) << flags;
    }
}

TEST_F(WritersTest, AWriterCountsByAnyOtherNameAsWell) {
    fs::create_hard_link(path_, folder_.file("other name"));
    UniqueDescriptor writer(::open(folder_.file("other name").c_str(), O_WRONLY));
    EXPECT_TRUE(isWritten());
    fs::rename(folder_.file("other name"), folder_.file("third name"));
    EXPECT_TRUE(isWritten());
}

TEST_F(WritersTest, AMappingWritesOnAfterItsDescriptorHasBeenClosed) {
    UniqueDescriptor writer(::open(path_.c_str(), O_RDWR));
    void* const mapped = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, writer.get(), 0);
    ASSERT_NE(mapped, MAP_FAILED);
    writer.close();
    struct stat file = {};
    ::fstat(reader_.get(), &file);
    EXPECT_TRUE(isWritten());
    ASSERT_EQ(mediaconverter::writersOf(file).size(), 1U);
    ::munmap(mapped, 4096);
    EXPECT_FALSE(isWritten());
    EXPECT_TRUE(mediaconverter::writersOf(file).empty());
}

TEST_F(WritersTest, AreToldByIdAndName) {
    const Helper helper([&] {
        const UniqueDescriptor writer(::open(path_.c_str(), O_WRONLY));
        ::pause();
    });
    struct stat file = {};
    ::fstat(reader_.get(), &file);
    std::vector<mediaconverter::Writer> writers;
    for (int attempt = 0; attempt < 500 && writers.empty(); ++attempt) {
        writers = mediaconverter::writersOf(file);
    }
    ASSERT_EQ(writers.size(), 1U);
    EXPECT_EQ(writers.front().process, helper.id());
    EXPECT_EQ(mediaconverter::textOf(writers), "process " + std::to_string(helper.id()) + " (mediaconverter_)");
}

TEST_F(WritersTest, WhereThisUserGetsNoLeaseTheProcessesAreLookedThrough) {
    if (::getuid() != 0) {
        GTEST_SKIP() << "needs to become another user";
    }
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path_.c_str(), 0666), 0);
    EXPECT_EQ(statusOf([&] {
                  constexpr uid_t nobody = 65534;
                  static_cast<void>(!::setresuid(nobody, nobody, nobody));
                  if (::fcntl(reader_.get(), F_SETLEASE, F_RDLCK) == 0) {
                      return 1;
                  }
                  // Only an inspectable program of this user can be examined.
                  ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
                  if (isOpenForWriting(reader_.get())) {
                      return 2;
                  }
                  const UniqueDescriptor writer(::open(path_.c_str(), O_WRONLY));
                  return isOpenForWriting(reader_.get()) ? 0 : 3;
              }),
              0);
}

TEST_F(WritersTest, AWriterThatComesInTheMiddleOfTheLookDoesNotKillTheProcess) {
    const Helper helper([&] {
        while (true) {
            const UniqueDescriptor writer(::open(path_.c_str(), O_WRONLY));
        }
    });
    EXPECT_EQ(statusOf([&] {
                  int met = 0;
                  for (const auto end = steady_clock::now() + seconds(2); steady_clock::now() < end;) {
                      met += isOpenForWriting(reader_.get()) ? 1 : 0;
                  }
                  return met > 0 ? 0 : 1;
              }),
              0);
}

}  // namespace
