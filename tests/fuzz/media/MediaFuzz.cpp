#include "Mutator.h"
#include "mediaconverter/Samples.h"
#include "mediaconverter/worker/Conversion.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/Reporter.h"
#include "support/TemporaryFolder.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// Converts cut, flipped and patched recordings, descriptor in and descriptor out, each in a process of its own. A
// crash, a sanitizer's report or a conversion that does not end is a finding: the recording is kept and the status
// is 1 in the end. A file that is named is converted instead, alone, to look into a finding.
//   media-fuzz SECONDS [SEED]
//   media-fuzz FILE

namespace {

using mediafuzz::Bytes;
using mediafuzz::Mutator;

/// In processor time, and in wall-clock time for what waits forever: the machine may be busy.
constexpr rlim_t mostComputing = 30;
constexpr unsigned mostWaiting = 600;

std::vector<Bytes> seeds() {
    using mediatest::samples::make;
    const std::vector<std::string> h264 = {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"};
    std::vector<Bytes> result;
    for (const char* const extension : {"mkv", "ts", "flv", "mov"}) {
        result.push_back(mediatest::contentOf(make(extension, h264, 1)));
    }
    auto fragmented = h264;
    fragmented.insert(fragmented.end(), {"-g", "10", "-movflags", "frag_keyframe+empty_moov"});
    result.push_back(mediatest::contentOf(make("mp4", fragmented, 1)));
    result.push_back(
        mediatest::contentOf(make("webm", {"-c:v", "libvpx", "-deadline", "realtime", "-c:a", "libvorbis"}, 0.5)));
    result.push_back(mediatest::contentOf(make("avi", {"-c:v", "mjpeg", "-c:a", "pcm_s16le"}, 0.2)));
    result.push_back(mediatest::contentOf(make("ogg", {"-vn", "-c:a", "flac"}, 0.5)));
    result.push_back(mediatest::contentOf(make("mpg", {"-c:v", "mpeg2video", "-c:a", "mp2"}, 0.5)));
    result.push_back(mediatest::contentOf(make("asf", {"-c:v", "msmpeg4", "-c:a", "wmav2"}, 0.5)));
    result.push_back(mediatest::contentOf(make("mxf", {"-c:v", "mpeg2video", "-c:a", "pcm_s16le"}, 0.2)));
    result.push_back(mediatest::contentOf(make("ivf", {"-an", "-c:v", "libvpx", "-deadline", "realtime"}, 0.5)));
    result.push_back(mediatest::contentOf(make("h264", {"-an", "-c:v", "libx264", "-preset", "ultrafast"}, 0.5)));
    result.push_back(mediatest::contentOf(make("wav", {"-vn", "-c:a", "pcm_f32le"}, 0.5)));
    result.push_back(mediatest::contentOf(make("aac", {"-vn", "-c:a", "aac"}, 1)));
    return result;
}

[[noreturn]] void convertHere(const Bytes& bytes) {
    constexpr rlimit computing = {mostComputing, mostComputing};
    ::setrlimit(RLIMIT_CPU, &computing);
    ::alarm(mostWaiting);
    const int source = ::memfd_create("source", MFD_CLOEXEC);
    const int output = ::memfd_create("output", MFD_CLOEXEC);
    worker::Reporter reporter(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (::write(source, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        ::_exit(EXIT_FAILURE);
    }
    try {
        worker::convertRecording(source, output, reporter);
    } catch (const worker::Failure&) {
    } catch (const std::bad_alloc&) {
    }
    ::_exit(EXIT_SUCCESS);
}

bool survives(const Bytes& bytes) {
    const pid_t child = ::fork();
    if (child == 0) {
        convertHere(bytes);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) {
        std::fprintf(stderr, "ended by signal %d\n", WTERMSIG(status));
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 2 && ::access(arguments[1], R_OK) == 0) {
        return survives(mediatest::contentOf(arguments[1])) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(count > 1 ? std::atoi(arguments[1]) : 30);
    const auto seed = static_cast<unsigned>(count > 2 ? std::atoi(arguments[2]) : 1);
    const std::vector<Bytes> recordings = seeds();
    Mutator mutator(seed);
    int runs = 0;
    int findings = 0;
    for (; std::chrono::steady_clock::now() < end; ++runs) {
        const Bytes& first = recordings[mutator.below(recordings.size())];
        const Bytes bytes = mutator.mutated(first, recordings[mutator.below(recordings.size())]);
        if (!survives(bytes)) {
            const std::string name = "media-fuzz-" + std::to_string(seed) + "-" + std::to_string(runs) + ".rec";
            mediatest::writeFile(name, bytes);
            std::fprintf(stderr, "run %d of seed %u: see %s\n", runs, seed, name.c_str());
            ++findings;
        }
    }
    std::printf("%d recordings, %d findings\n", runs, findings);
    return runs > 0 && findings == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
