#include "mediaconverter/job/JobLog.h"

#include <cstdarg>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

// Where the library's log lines go: to standard error and to the system's log, but only once to the journal.

namespace {

int systemLines = 0;

}  // namespace

// In place of the C library's; which of them a program calls depends on how it was compiled.
extern "C" void syslog(int /*priority*/, const char* /*format*/, ...) {
    ++systemLines;
}

extern "C" void __syslog_chk(int /*priority*/, int /*flag*/, const char* /*format*/, ...) {
    ++systemLines;
}

namespace {

class JobLogTest : public testing::Test {
protected:
    JobLogTest() {
        systemLines = 0;
        ::unsetenv("JOURNAL_STREAM");
        ::dup2(file_, STDERR_FILENO);
    }

    ~JobLogTest() override {
        ::dup2(former_, STDERR_FILENO);
        ::close(former_);
        ::close(file_);
        ::unsetenv("JOURNAL_STREAM");
    }

    static void standardErrorIsSaidToBe(dev_t device, ino_t inode) {
        ::setenv("JOURNAL_STREAM", (std::to_string(device) + ":" + std::to_string(inode)).c_str(), 1);
    }

    std::string written() const {
        std::string text(200, '\0');
        text.resize(static_cast<std::size_t>(::pread(file_, text.data(), text.size(), 0)));
        return text;
    }

    struct stat status() const {
        struct stat status = {};
        ::fstat(file_, &status);
        return status;
    }

private:
    int former_ = ::dup(STDERR_FILENO);
    int file_ = ::open(std::filesystem::temp_directory_path().c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
};

TEST_F(JobLogTest, ALineGoesToStandardErrorAndToTheSystemsLog) {
    mediaconverter::logLine("one\ntwo");
    EXPECT_EQ(written(), "mediaconverter: one\\x0atwo\n");
    EXPECT_EQ(systemLines, 1);
}

TEST_F(JobLogTest, ALineGoesOnlyOnceToTheJournal) {
    standardErrorIsSaidToBe(status().st_dev, status().st_ino);
    mediaconverter::logLine("one");
    mediaconverter::logLine("two", LOG_ERR);
    EXPECT_EQ(written(), "<5>mediaconverter: one\n<3>mediaconverter: two\n") << "with its priority";
    EXPECT_EQ(systemLines, 0);
}

TEST_F(JobLogTest, AJournalThatAnotherProcessWritesToDoesNotCount) {
    standardErrorIsSaidToBe(status().st_dev, status().st_ino + 1);
    mediaconverter::logLine("one");
    EXPECT_EQ(systemLines, 1);
}

}  // namespace
