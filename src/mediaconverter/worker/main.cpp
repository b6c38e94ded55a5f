#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/worker/AllocationWatch.h"
#include "mediaconverter/worker/Barriers.h"
#include "mediaconverter/worker/Conversion.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/Reporter.h"
#include "mediaconverter/worker/StatOf.h"

#include <malloc.h>
#include <pthread.h>

#include <new>

namespace {

/// By default the C library keeps small freed blocks apart and joins them all whenever a large one is freed. The media
/// libraries free a large block with each packet; joining at once takes less time.
void prepareMemory() {
    ::mallopt(M_MXFAST, 0);
}

/// Threads as small as the work allows, so that many fit into the address space: by default the C library gives each a
/// stack of 8 MiB and an allocation arena of 64 MiB.
void prepareThreads() {
    constexpr int mostArenas = 4;
    constexpr std::size_t stackSize = std::size_t{2} << 20U;
    ::mallopt(M_ARENA_MAX, mostArenas);
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
    prepareMemory();
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
