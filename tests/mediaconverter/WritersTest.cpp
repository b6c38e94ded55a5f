#include "mediaconverter/job/Writers.h"
#include "mediaconverter/FaultTest.h"
#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/WriterWait.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

// A recording that some process still writes is waited for, whoever writes it and by whatever name, within bounds.

namespace {

using namespace mediatest;
using mediaconverter::isOpenForWriting;
using mediaconverter::JobFailure;
using mediaconverter::SourceFile;
using mediaconverter::UniqueDescriptor;
using mediaconverter::WriterWait;
using enum ConversionError;
namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

/// Runs `work` in a process of its own until the object ends.
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

/// The exit status of `inside` in a process of its own, or 128 + the signal that ended it.
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

TEST_F(WritersTest, NobodyWrites) {
    EXPECT_FALSE(isWritten());
}

TEST_F(WritersTest, AReaderIsNoWriter) {
    const UniqueDescriptor other(::open(path_.c_str(), O_RDONLY));
    EXPECT_FALSE(isWritten());
}

TEST_F(WritersTest, WhoeverHasItOpenForWritingIs) {
    for (const int flags : {O_WRONLY, O_RDWR, O_WRONLY | O_APPEND}) {
        UniqueDescriptor writer(::open(path_.c_str(), flags));
        EXPECT_TRUE(isWritten()) << flags;
        writer.close();
        EXPECT_FALSE(isWritten()) << flags;
    }
}

TEST_F(WritersTest, ByAnyOtherNameAsWell) {
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
                  // A program of this user alone may be looked into.
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

/// A job's owner that can be told to give up.
class Owner final : public mediaconverter::JobOwner {
public:
    void jobProgress(float) override {}
    int abandonDescriptor() const override { return event_.get(); }
    bool isAbandoned() const override { return abandoned_; }
    void abandon() {
        abandoned_ = true;
        ::eventfd_write(event_.get(), 1);
    }

private:
    UniqueDescriptor event_{::eventfd(0, EFD_CLOEXEC)};
    std::atomic<bool> abandoned_{false};
};

class WriterWaitTest : public WritersTest {
protected:
    WriterWait::End wait(WriterWait::Limits limits) {
        return WriterWait(
                   owner_, [this](const std::string& text) { notes_.push_back(text); }, limits)
            .wait(source_);
    }

    static constexpr WriterWait::Limits quick{milliseconds(600), milliseconds(2000), milliseconds(20)};
    SourceFile source_{path_};
    Owner owner_;
    std::vector<std::string> notes_;
};

TEST_F(WriterWaitTest, WithoutAWriterThereIsNoWait) {
    const auto start = steady_clock::now();
    EXPECT_EQ(wait({}), WriterWait::End::closed);
    EXPECT_LT(steady_clock::now() - start, milliseconds(200));
    EXPECT_TRUE(notes_.empty());
}

TEST_F(WriterWaitTest, EndsWhenTheLastWriterHasClosed) {
    UniqueDescriptor first(::open(path_.c_str(), O_WRONLY));
    UniqueDescriptor second(::open(path_.c_str(), O_WRONLY));
    std::thread closing([&] {
        std::this_thread::sleep_for(milliseconds(150));
        first.close();
        std::this_thread::sleep_for(milliseconds(150));
        second.close();
    });
    const auto start = steady_clock::now();
    EXPECT_EQ(wait(quick), WriterWait::End::closed);
    EXPECT_GE(steady_clock::now() - start, milliseconds(290));
    closing.join();
    ASSERT_EQ(notes_.size(), 1U);
    EXPECT_NE(notes_[0].find("process " + std::to_string(::getpid())), std::string::npos) << notes_[0];
}

TEST_F(WriterWaitTest, AFileThatIsOpenAndStandsStillIsGivenUpWaitingFor) {
    const UniqueDescriptor writer(::open(path_.c_str(), O_WRONLY));
    const auto start = steady_clock::now();
    EXPECT_EQ(wait(quick), WriterWait::End::idle);
    EXPECT_GE(steady_clock::now() - start, milliseconds(590));
    EXPECT_LT(steady_clock::now() - start, milliseconds(1500));
}

TEST_F(WriterWaitTest, GrowthMakesItWaitLongerButNotForEver) {
    std::atomic<bool> ended{false};
    std::thread writing([&] {
        const UniqueDescriptor writer(::open(path_.c_str(), O_WRONLY | O_APPEND));
        while (!ended) {
            static_cast<void>(!::write(writer.get(), "x", 1));
            std::this_thread::sleep_for(milliseconds(50));
        }
    });
    while (!isWritten()) {
    }
    const auto start = steady_clock::now();
    std::optional<ConversionError> error;
    try {
        wait(quick);
    } catch (const JobFailure& failure) {
        error = failure.error;
    }
    EXPECT_EQ(error, sourceChanged);
    EXPECT_GE(steady_clock::now() - start, milliseconds(1990));
    ended = true;
    writing.join();
}

TEST_F(WriterWaitTest, CanBeAbandoned) {
    const UniqueDescriptor writer(::open(path_.c_str(), O_WRONLY));
    std::thread abandoning([&] {
        std::this_thread::sleep_for(milliseconds(100));
        owner_.abandon();
    });
    const auto start = steady_clock::now();
    std::optional<ConversionError> error;
    try {
        wait({seconds(30), seconds(60), seconds(20)});
    } catch (const JobFailure& failure) {
        error = failure.error;
    }
    EXPECT_EQ(error, abandoned);
    EXPECT_LT(steady_clock::now() - start, seconds(5));
    abandoning.join();
}

/// Whole conversions.
class StillWrittenTest : public FaultTest {
protected:
    std::string content_ = contentOf(samples::matroska());
};

TEST_F(StillWrittenTest, WhatAHelperOfTheDeadClientStillFlushesIsInTheMp4) {
    const std::string source = put("talk.mkv", content_.substr(0, content_.size() / 2));
    UniqueDescriptor writer(::open(source.c_str(), O_WRONLY | O_APPEND));
    std::thread flushing([&] {
        for (std::size_t at = content_.size() / 2; at < content_.size(); at += 8192) {
            std::this_thread::sleep_for(milliseconds(30));
            const std::string piece = content_.substr(at, 8192);
            static_cast<void>(!::write(writer.get(), piece.data(), piece.size()));
        }
        writer.close();
    });
    convert(source, destination(), sink_);
    flushing.join();
    EXPECT_TRUE(sink_.isSuccess());
    EXPECT_EQ(packetHashes(destination()), packetHashes(samples::matroska()));
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"out.mp4", "talk.mkv"}));
}

TEST_F(StillWrittenTest, AFileThatHoldsNothingYetIsWaitedForAsWell) {
    const std::string source = put("talk.mkv", "");
    UniqueDescriptor writer(::open(source.c_str(), O_WRONLY));
    std::thread flushing([&] {
        std::this_thread::sleep_for(milliseconds(300));
        static_cast<void>(!::write(writer.get(), content_.data(), content_.size()));
        writer.close();
    });
    convert(source, destination(), sink_);
    flushing.join();
    EXPECT_TRUE(sink_.isSuccess());
}

TEST_F(StillWrittenTest, AfterHalfAMinuteOfSilenceItIsConvertedAndKeepsASecondName) {
    const std::string source = put("talk.mkv", content_);
    const UniqueDescriptor writer(::open(source.c_str(), O_WRONLY | O_APPEND));
    const std::string log = expectSuccess(source, {"talk (damaged).mkv"});
    EXPECT_NE(log.find("process " + std::to_string(::getpid()) + " ("), std::string::npos) << log;
    EXPECT_NE(log.find("its data stays as"), std::string::npos) << log;
    // What comes after all is not lost, even when the recording's own name has gone.
    fs::remove(source);
    static_cast<void>(!::write(writer.get(), "late", 4));
    EXPECT_TRUE(contentOf(folder_.file("talk (damaged).mkv")) == content_ + "late");
}

TEST_F(StillWrittenTest, ReleaseEndsTheWait) {
    const std::string source = put("talk.mkv", content_);
    const UniqueDescriptor writer(::open(source.c_str(), O_WRONLY));
    auto converter = make(shippedConverter(), sink_);
    zed::IZedMediaConverter* const raw = converter.get();
    std::thread job([&] { raw->Convert(source.c_str(), destination().c_str(), 3, 4); });
    std::this_thread::sleep_for(milliseconds(300));
    const auto start = steady_clock::now();
    converter.reset();
    EXPECT_LT(steady_clock::now() - start, seconds(5));
    job.join();
    EXPECT_EQ(sink_.onlyError(), static_cast<int>(abandoned));
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"talk.mkv"});
}

}  // namespace
