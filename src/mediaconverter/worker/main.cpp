#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/worker/Conversion.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/Reporter.h"
#include "mediaconverter/worker/confinement/AllocationWatch.h"
#include "mediaconverter/worker/confinement/Barriers.h"
#include "mediaconverter/worker/confinement/StatOf.h"

#include <new>
#include <pthread.h>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these bring their own allocator

#pragma GCC visibility push(default)
/// The allocator (jemalloc) reads its options from this variable. Freed pages go back to the system after a tenth of a
/// second, those of blocks from 256 KiB on at once: the tables of a long recording grow by moving to ever larger
/// blocks, and the ones that they leave must not count as well. All threads share four heaps.
extern "C" const char* malloc_conf;
const char* malloc_conf = "narenas:4,dirty_decay_ms:100,muzzy_decay_ms:0,retain:false,oversize_threshold:262144";
#pragma GCC visibility pop

#endif

namespace {

/// Threads as small as the work allows, so that many fit into the address space: by default the C library gives each a
/// stack of 8 MiB.
void prepareThreads() {
    constexpr std::size_t stackSize = std::size_t{2} << 20U;
    pthread_attr_t attributes;
    if (::pthread_attr_init(&attributes) == 0) {
        ::pthread_attr_setstacksize(&attributes, stackSize);
        ::pthread_setattr_default_np(&attributes);
        ::pthread_attr_destroy(&attributes);
    }
}

}  // namespace

// The worker program of the media converter library: it gets a recording, an empty file and a pipe as descriptors, and
// writes the recording as an MP4 to the file. It knows no file names.
int main() {
    namespace given = mediaconverter::descriptor;
    worker::barriers::bindToParent(given::report);
    worker::Reporter reporter(given::report);
    prepareThreads();
    struct stat source = {};
    const std::int64_t size = worker::statOf(given::source, source) == 0 ? source.st_size : 0;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // these need more of the system than the work does
    worker::barriers::limitThreads(reporter);
    worker::barriers::closeFileSystem(reporter);
    worker::barriers::limitResources(reporter, size);
    worker::barriers::closeSystemCalls(reporter, size);
#else
    worker::barriers::limitResources(reporter, size);
#endif
    try {
        worker::convertRecording(given::source, given::output, reporter);
        if (worker::wasMemoryRefused()) {
            throw std::bad_alloc();
        }
        reporter.done();
    } catch (const worker::Failure& failure) {
        reporter.failed(failure.error, failure.detail);
    } catch (const std::bad_alloc&) {
        reporter.failed(mediaconverter::ConversionError::workerOutOfMemory, {});
    }
    return 0;
}
