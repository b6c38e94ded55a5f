#include "mediaconverter/FaultTest.h"
#include "mediaconverter/Processes.h"

#include <chrono>
#include <dlfcn.h>
#include <filesystem>
#include <sys/stat.h>

// A worker that is missing, dies, hangs, sends invalid messages or needs too much: the application gets one error.

namespace {

using namespace mediatest;
using enum ConversionError;
namespace fs = std::filesystem;

/// A separate application folder, with a worker that the test writes.
class WorkerFaultsTest : public FaultTest {
protected:
    WorkerFaultsTest() : source_(put("a.mkv", contentOf(samples::matroska()))) {
        fs::create_directories(application_.file("lib"));
        fs::create_directories(application_.file("libexec"));
        fs::copy_file(shippedLibrary(), application_.file("lib/libmediaconverter.so"));
    }

    ~WorkerFaultsTest() override {
        if (library_ != nullptr) {
            dlclose(library_);
        }
    }

    std::string worker() const { return application_.file("libexec/mediaconverter-worker"); }

    void writeWorker(const std::string& script) {
        writeFile(worker(), "#!/bin/sh\n" + script + "\n");
        ASSERT_EQ(::chmod(worker().c_str(), 0755), 0);
    }

    void convertWithOwnWorker() {
        library_ = dlopen(application_.file("lib/libmediaconverter.so").c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library_, nullptr);
        const auto create = reinterpret_cast<CreateFunction>(dlsym(library_, "CreateMediaConverter"));
        make(create, sink_)->Convert(source_.c_str(), destination().c_str(), 3, 4);
    }

    void expectErrorOfWorker(ConversionError error) {
        testing::internal::CaptureStderr();
        convertWithOwnWorker();
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(sink_.onlyError(), static_cast<int>(error)) << log;
        EXPECT_NE(log.find(mediaconverter::sentence(error)), std::string::npos) << log;
        EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
        EXPECT_EQ(contentOf(source_), contentOf(samples::matroska()));
    }

    TemporaryFolder application_;
    std::string source_;
    void* library_ = nullptr;
};

TEST_F(WorkerFaultsTest, AMissingWorkerIsAnError) {
    expectErrorOfWorker(workerMissing);
}

TEST_F(WorkerFaultsTest, AWorkerThatIsNoProgramIsMissing) {
    writeFile(worker(), "no program");
    expectErrorOfWorker(workerMissing);
}

TEST_F(WorkerFaultsTest, AWorkerThatLacksALibraryIsMissing) {
    writeWorker("exit 127");
    expectErrorOfWorker(workerMissing);
}

TEST_F(WorkerFaultsTest, AWorkerThatCrashesIsAnError) {
    writeWorker("kill -SEGV $$");
    expectErrorOfWorker(workerCrashed);
}

TEST_F(WorkerFaultsTest, AWorkerThatCrashesAfterItHasBegunToWriteIsAnError) {
    writeWorker("head -c 100000 /dev/zero >&4; kill -ABRT $$");
    expectErrorOfWorker(workerCrashed);
}

TEST_F(WorkerFaultsTest, AWorkerThatEndsWithoutAMessageHasCrashed) {
    writeWorker("exit 0");
    expectErrorOfWorker(workerCrashed);
}

TEST_F(WorkerFaultsTest, RandomBytesAreNonsense) {
    writeWorker("head -c 2000 /dev/urandom >&5");
    expectErrorOfWorker(workerNonsense);
}

TEST_F(WorkerFaultsTest, ACodeThatIsNoneIsNonsense) {
    // Kind 5 (failed) with code 9999, little-endian.
    writeWorker("printf '\\005\\000\\000\\000\\017\\047\\000\\000' >&5; head -c 504 /dev/zero >&5");
    expectErrorOfWorker(workerNonsense);
}

TEST_F(WorkerFaultsTest, AWorkerThatCrashesAfterItsLastMessageHasCrashed) {
    writeWorker("printf '\\004\\000\\000\\000' >&5; head -c 508 /dev/zero >&5; kill -SEGV $$");
    expectErrorOfWorker(workerCrashed);
}

TEST_F(WorkerFaultsTest, AMessageAfterTheLastIsNonsense) {
    writeWorker("printf '\\004\\000\\000\\000' >&5; head -c 1020 /dev/zero >&5");
    expectErrorOfWorker(workerNonsense);
}

/// A worker that reports the content of the file "result" as a finished MP4.
class FalseResultTest : public WorkerFaultsTest {
protected:
    FalseResultTest() {
        RecordingSink sink;
        convert(source_, destination(), sink);
        whole_ = contentOf(destination());
        fs::remove(destination());
    }

    void saysDoneWith(const std::string& result) {
        writeFile(application_.file("result"), result);
        writeWorker("cat '" + application_.file("result") +
                    "' >&4; printf '\\004\\000\\000\\000' >&5; head -c 508 /dev/zero >&5");
    }

    void expectRefusal(const std::string& result) {
        saysDoneWith(result);
        expectErrorOfWorker(proofFailed);
    }

    std::size_t at(const std::string& box) const { return whole_.find(box) - 4; }
    std::string dataBox() const { return whole_.substr(at("mdat")); }

    std::string whole_;
};

TEST_F(FalseResultTest, AWholeMp4IsPublished) {
    saysDoneWith(whole_);
    convertWithOwnWorker();
    EXPECT_TRUE(sink_.isSuccess());
    EXPECT_TRUE(contentOf(destination()) == whole_);
}

TEST_F(FalseResultTest, AnEmptyFileIsRefused) {
    expectRefusal("");
}

TEST_F(FalseResultTest, ATextIsRefused) {
    expectRefusal("All is well: this is your recording.\n");
}

TEST_F(FalseResultTest, AnMp4WithoutItsLastByteIsRefused) {
    expectRefusal(whole_.substr(0, whole_.size() - 1));
}

TEST_F(FalseResultTest, BytesAfterTheEndAreRefused) {
    expectRefusal(whole_ + "PK\3\4");
}

TEST_F(FalseResultTest, AnotherBoxAfterTheEndIsRefused) {
    expectRefusal(whole_ + std::string("\0\0\0\x0C"
                                       "meta"
                                       "abcd",
                                       12));
}

TEST_F(FalseResultTest, AnMp4WithoutAFileTypeIsRefused) {
    expectRefusal(whole_.substr(at("moov")));
}

TEST_F(FalseResultTest, AnMp4WithoutAnIndexIsRefused) {
    expectRefusal(whole_.substr(0, at("moov")) + dataBox());
}

TEST_F(FalseResultTest, AnIndexAfterTheDataIsRefused) {
    const std::string index = whole_.substr(at("moov"), at("mdat") - at("moov"));
    expectRefusal(whole_.substr(0, at("moov")) + dataBox() + index);
}

TEST_F(FalseResultTest, AnMp4WithoutDataIsRefused) {
    expectRefusal(whole_.substr(0, at("mdat")));
}

TEST_F(FalseResultTest, AnIndexWithoutTracksIsRefused) {
    std::string result = whole_;
    for (auto track = result.find("trak"); track != std::string::npos; track = result.find("trak", track)) {
        result.replace(track, 4, "free");
    }
    expectRefusal(result);
}

TEST_F(FalseResultTest, DataWithoutAnEndIsRefused) {
    std::string result = whole_;
    result.replace(at("mdat"), 4, std::string(4, '\0'));
    expectRefusal(result);
}

TEST_F(FalseResultTest, MoreBoxesThanAnyMp4HasAreRefused) {
    std::string result = whole_.substr(0, at("moov"));
    for (int count = 0; count < 2000; ++count) {
        result += std::string("\0\0\0\x08"
                              "free",
                              8);
    }
    expectRefusal(result + whole_.substr(at("moov")));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these exceed any limit by themselves
TEST_F(WorkerFaultsTest, AWorkerThatNeedsMoreMemoryThanItMayUseIsAnError) {
    source_ =
        put("a.mkv", contentOf(samples::make(
                         "nut", {"-an", "-c:v", "rawvideo", "-vf", "scale=4096:4096", "-pix_fmt", "yuv420p"}, 0.2)));
    fs::create_symlink(applicationFolder() + "/libexec/mediaconverter-worker", application_.file("libexec/real"));
    writeWorker("ulimit -v 400000; exec \"$(dirname \"$0\")/real\"");
    library_ = dlopen(application_.file("lib/libmediaconverter.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr);
    const auto create = reinterpret_cast<CreateFunction>(dlsym(library_, "CreateMediaConverter"));
    make(create, sink_)->Convert(source_.c_str(), destination().c_str(), 3, 4);
    EXPECT_EQ(sink_.onlyError(), static_cast<int>(workerOutOfMemory));
    EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.mkv"});
}
#endif

TEST_F(WorkerFaultsTest, AWorkerThatSendsNothingForThirtySecondsHangs) {
    writeWorker("exec sleep 300");
    const auto start = std::chrono::steady_clock::now();
    expectErrorOfWorker(workerHung);
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken, std::chrono::seconds(29));
    EXPECT_LE(taken, std::chrono::seconds(45));
}

TEST_F(WorkerFaultsTest, TheLibraryFindsTheWorkerBesideItselfWhereverItStands) {
    fs::create_symlink(applicationFolder() + "/libexec/mediaconverter-worker", worker());
    library_ = dlopen(application_.file("lib/libmediaconverter.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr);
    const auto create = reinterpret_cast<CreateFunction>(dlsym(library_, "CreateMediaConverter"));
    make(create, sink_)->Convert(source_.c_str(), destination().c_str(), 3, 4);
    EXPECT_TRUE(sink_.isSuccess());
}

}  // namespace
