#include "mediaconverter/FaultTest.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

// After 100 exactly the converted file is removed, whatever takes its name and whenever.

namespace {

/// Called with the name before this program renames or removes a file within a folder.
std::function<void(std::string_view)> beforeRename;
std::function<void(std::string_view)> beforeRemoval;

}  // namespace

extern "C" __attribute__((visibility("default"))) int renameat2(int from, const char* name, int to, const char* target,
                                                                unsigned flags) noexcept {
    if (const auto hook = std::exchange(beforeRename, nullptr)) {
        hook(name);
    }
    return static_cast<int>(::syscall(SYS_renameat2, from, name, to, target, flags));
}

extern "C" __attribute__((visibility("default"))) int unlinkat(int folder, const char* name, int flags) noexcept {
    if (beforeRemoval) {
        beforeRemoval(name);
    }
    return static_cast<int>(::syscall(SYS_unlinkat, folder, name, flags));
}

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

class RemovalTest : public FaultTest {
protected:
    RemovalTest() : source_(put("a.mkv", contentOf(samples::matroska()))), content_(contentOf(source_)) {}
    ~RemovalTest() override { beforeRename = beforeRemoval = nullptr; }

    void convertIt() {
        converter_->Convert(source_.c_str(), destination().c_str(), 3, 4);
        ASSERT_TRUE(sink_.isSuccess());
    }

    /// Why the file stays; empty if it is gone.
    static std::string remove(const std::string& path) {
        std::array<char, 300> reason{};
        const int result = shippedRemoval()(path.c_str(), reason.data(), reason.size());
        EXPECT_EQ(result == 0, reason[0] == '\0');
        return reason.data();
    }

    void expectStays(const std::string& content) {
        EXPECT_NE(remove(source_), "");
        EXPECT_TRUE(contentOf(source_) == content);
        EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.mkv", "out.mp4"}));
    }

    /// Puts another file of the same size and time under the recording's name.
    void replace() const {
        const auto time = fs::last_write_time(source_);
        writeFile(source_ + ".new", std::string(content_.size(), 'x'));
        fs::last_write_time(source_ + ".new", time);
        fs::rename(source_ + ".new", source_);
    }

    std::string source_;
    std::string content_;
    ConverterPointer converter_ = make(shippedConverter(), sink_);
};

TEST_F(RemovalTest, TheFileThatWasConvertedGoes) {
    convertIt();
    EXPECT_EQ(remove(source_), "");
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"out.mp4"});
}

TEST_F(RemovalTest, HappensOnlyOnce) {
    convertIt();
    EXPECT_EQ(remove(source_), "");
    put("a.mkv", content_);
    expectStays(content_);
}

TEST_F(RemovalTest, AFileThatHasTakenItsNameStays) {
    convertIt();
    replace();
    expectStays(std::string(content_.size(), 'x'));
}

TEST_F(RemovalTest, AFileThatHasGrownStays) {
    convertIt();
    const auto time = fs::last_write_time(source_);
    writeFile(source_, content_ + "more");
    fs::last_write_time(source_, time);
    expectStays(content_ + "more");
}

TEST_F(RemovalTest, AFileWrittenANanosecondLaterStays) {
    convertIt();
    struct stat status = {};
    ASSERT_EQ(::stat(source_.c_str(), &status), 0);
    const long later = status.st_mtim.tv_nsec == 999'999'999 ? 0 : status.st_mtim.tv_nsec + 1;
    const struct timespec times[2] = {{0, UTIME_OMIT}, {status.st_mtim.tv_sec, later}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source_.c_str(), times, 0), 0);
    expectStays(content_);
}

TEST_F(RemovalTest, AFileThatTakesTheNameInTheVeryMomentStays) {
    convertIt();
    beforeRename = [&](std::string_view) { replace(); };
    expectStays(std::string(content_.size(), 'x'));
}

TEST_F(RemovalTest, WhereItsNameIsTakenOnceMoreItGetsOneNextToIt) {
    convertIt();
    beforeRename = [&](std::string_view) {
        replace();
        beforeRename = [&](std::string_view) { put("a.mkv", "third"); };
    };
    EXPECT_NE(remove(source_).find("a (moved aside).mkv"), std::string::npos);
    EXPECT_EQ(contentOf(source_), "third");
    EXPECT_EQ(contentOf(folder_.file("a (moved aside).mkv")), std::string(content_.size(), 'x'));
    EXPECT_EQ(folder_.names().size(), 3U);
}

TEST_F(RemovalTest, WhatWasNotConvertedStays) {
    put("out.mp4", "of an earlier day");
    expectStays(content_);
}

TEST_F(RemovalTest, WhatCouldNotBeConvertedStays) {
    put("out.mp4", "somebody's");
    converter_->Convert(source_.c_str(), destination().c_str(), 3, 4);
    ASSERT_TRUE(sink_.onlyError().has_value());
    expectStays(content_);
}

TEST_F(RemovalTest, AFailureAfterASuccessTakesTheSuccessBack) {
    convertIt();
    converter_->Convert(source_.c_str(), destination().c_str(), 3, 4);
    ASSERT_EQ(sink_.errors().size(), 1U);
    expectStays(content_);
}

TEST_F(RemovalTest, WhatAReleasedConverterHasConvertedStays) {
    convertIt();
    converter_.reset();
    expectStays(content_);
}

TEST_F(RemovalTest, EachConverterKnowsItsOwn) {
    convertIt();
    const std::string other = put("b.mkv", content_);
    RecordingSink sink;
    const auto second = make(shippedConverter(), sink);
    second->Convert(other.c_str(), folder_.file("b.mp4").c_str(), 3, 4);
    EXPECT_EQ(remove(source_), "");
    EXPECT_EQ(remove(other), "");
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"b.mp4", "out.mp4"}));
}

TEST_F(RemovalTest, OfALinkTheLinkGoes) {
    const std::string real = folder_.file("real");
    fs::rename(source_, real);
    fs::create_symlink("real", source_);
    convertIt();
    EXPECT_EQ(remove(source_), "");
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"out.mp4", "real"}));
    EXPECT_TRUE(contentOf(real) == content_);
}

TEST_F(RemovalTest, WorksFromACallbackAtAHundred) {
    std::string reason = "not asked";
    sink_.inCallback = [&] {
        if (sink_.progress().back() >= 100.0F) {
            reason = remove(source_);
        }
    };
    convertIt();
    EXPECT_EQ(reason, "");
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"out.mp4"});
}

/// A removal that is killed in the middle, after the file was moved aside.
class KilledRemovalTest : public RemovalTest {
protected:
    void SetUp() override {
        const pid_t child = ::fork();
        if (child == 0) {
            convertIt();
            beforeRemoval = [](std::string_view name) {
                if (name.ends_with(".converted")) {
                    ::_exit(9);
                }
            };
            remove(source_);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_EQ(WEXITSTATUS(status), 9);
        const auto names = folder_.names();
        ASSERT_EQ(names.size(), 2U);
        left_ = folder_.file(names.front());
        ASSERT_TRUE(contentOf(left_) == content_);
        fs::remove(destination());
        put("a.mkv", content_);
    }

    std::string left_;
};

TEST_F(KilledRemovalTest, WhatItLeftGoesWithTheNext) {
    convertIt();
    EXPECT_EQ(remove(source_), "");
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"out.mp4"});
}

TEST_F(KilledRemovalTest, WhatItLeftStaysIfItIsNotWhatWasConverted) {
    writeFile(left_, content_ + "more");
    convertIt();
    EXPECT_EQ(remove(source_), "");
    EXPECT_TRUE(contentOf(left_) == content_ + "more");
}

}  // namespace
