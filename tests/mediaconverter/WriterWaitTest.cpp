#include "mediaconverter/job/WriterWait.h"

#include "mediaconverter/FaultTest.h"
#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/Writers.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/eventfd.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>
#include <vector>

// The converter waits for a recording that some process still writes, within limits, and then converts all of it.

namespace {

using namespace mediatest;
using mediaconverter::JobFailure;
using mediaconverter::SourceFile;
using mediaconverter::UniqueDescriptor;
using mediaconverter::WriterWait;
using enum ConversionError;
namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

/// An owner of a job that a test can make give up.
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

class WriterWaitTest : public FaultTest {
protected:
    WriterWait::End wait(WriterWait::Limits limits) {
        return WriterWait(
                   owner_, [this](const std::string& text) { notes_.push_back(text); }, limits)
            .wait(source_);
    }

    static constexpr WriterWait::Limits quick{milliseconds(600), milliseconds(2000), milliseconds(20)};
    std::string path_ = put("talk.mkv", "some content");
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
        // An unlimited wait fails the test instead of hanging it.
        const auto latest = steady_clock::now() + seconds(10);
        while (!ended && steady_clock::now() < latest) {
            static_cast<void>(!::write(writer.get(), "x", 1));
            std::this_thread::sleep_for(milliseconds(50));
        }
    });
    while (!mediaconverter::isOpenForWriting(source_.descriptor())) {
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
    EXPECT_LT(steady_clock::now() - start, seconds(8));
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

TEST_F(WriterWaitTest, IsNotEndedByASignal) {
    const UniqueDescriptor writer(::open(path_.c_str(), O_WRONLY));
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    struct sigaction before = {};
    ::sigaction(SIGALRM, &action, &before);  // without SA_RESTART
    const itimerval often = {{0, 5000}, {0, 5000}};
    const itimerval never = {};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_EQ(wait(quick), WriterWait::End::idle);
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before, nullptr);
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
    // Data that arrives after all is not lost, even if the recording's own name has gone.
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
