#include "mediaconverter/InsideWorker.h"
#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/worker/confinement/Barriers.h"
#include "support/TemporaryFolder.h"

#include <linux/fs.h>
#include <string>
#include <sys/ioctl.h>

// The worker may move the recording's bytes into its output, and nothing else.

namespace {

using namespace mediatest;
using test::TemporaryFolder;
using test::writeFile;

/// Calls `move(source, output)` in a worker with files of these descriptors, of which the source has content.
bool isMovingRefused(const std::function<long(int, int)>& move) {
    const TemporaryFolder folder;
    writeFile(folder.file("in"), std::string(4096, 'x'));
    writeFile(folder.file("out"), "");
    return holdsInside([&](worker::Reporter& reporter) {
        ::dup2(::open(folder.file("in").c_str(), O_RDWR), mediaconverter::descriptor::source);
        ::dup2(::open(folder.file("out").c_str(), O_RDWR), mediaconverter::descriptor::output);
        worker::barriers::closeSystemCalls(reporter, 1000);
        return isRefused(move(mediaconverter::descriptor::source, mediaconverter::descriptor::output));
    });
}

TEST(MovingIsolationTest, SeccompLetsTheSourceBeMovedIntoTheOutputAndNothingElse) {
    const auto copy = [](int from, int to) { return ::copy_file_range(from, nullptr, to, nullptr, 4096, 0); };
    const auto share = [](int from, int to) {
        file_clone_range range = {};
        range.src_fd = from;
        return static_cast<long>(::ioctl(to, FICLONERANGE, &range));
    };
    EXPECT_FALSE(isMovingRefused([&](int source, int output) { return copy(source, output); }));
    EXPECT_TRUE(isMovingRefused([&](int source, int output) { return copy(output, source); }));
    // A file system that shares no blocks refuses too, but with another error.
    EXPECT_FALSE(isMovingRefused([&](int source, int output) { return share(source, output); }));
    EXPECT_TRUE(isMovingRefused([&](int source, int output) { return share(output, source); }));
    EXPECT_TRUE(isMovingRefused([&](int source, int output) { return ::ioctl(output, FICLONE, source); }));
    EXPECT_TRUE(isMovingRefused([&](int source, int) { return ::ioctl(source, FS_IOC_GETFLAGS, &source); }));
}

}  // namespace
