#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/worker/AllocationWatch.h"
#include "mediaconverter/worker/Barriers.h"
#include "mediaconverter/worker/Conversion.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/Reporter.h"

#include <sys/stat.h>

#include <new>

// The program behind the media converter library: it is given a recording, an empty file and a pipe as descriptors,
// and turns the one into an MP4 in the other. It knows no file names.
int main() {
    namespace given = mediaconverter::descriptor;
    worker::barriers::bindToParent(given::report);
    worker::Reporter reporter(given::report);
    struct stat source = {};
    const bool known = ::fstat(given::source, &source) == 0;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which need more of the system than the work does
    worker::barriers::closeFileSystem(reporter);
    worker::barriers::limitResources(reporter, known ? source.st_size : 0);
    worker::barriers::closeSystemCalls(reporter);
#else
    worker::barriers::limitResources(reporter, known ? source.st_size : 0);
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
