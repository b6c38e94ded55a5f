#include "mediaconverter/WorkerMessage.h"
#include "mediaconverter/worker/Barriers.h"
#include "mediaconverter/worker/Conversion.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/Reporter.h"

extern "C" {
#include <libavutil/log.h>
}

#include <new>

// The program behind the media converter library: it is given a recording, an empty file and a pipe as descriptors,
// and turns the one into an MP4 in the other. It knows no file names.
int main() {
    namespace given = mediaconverter::descriptor;
    worker::barriers::bindToParent(given::report);
    worker::Reporter reporter(given::report);
    worker::barriers::limitResources(reporter);
    av_log_set_level(AV_LOG_QUIET);
    try {
        worker::Conversion(given::source, given::output, reporter).run();
        reporter.done();
    } catch (const worker::Failure& failure) {
        reporter.failed(failure.error, failure.detail);
    } catch (const std::bad_alloc&) {
        reporter.failed(mediaconverter::ConversionError::workerOutOfMemory, {});
    }
    return 0;
}
