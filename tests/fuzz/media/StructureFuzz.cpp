#include "Mutator.h"
#include "mediaconverter/Samples.h"
#include "mediaconverter/worker/reading/SourceReader.h"
#include "mediaconverter/worker/structure/Irregularity.h"
#include "mediaconverter/worker/structure/MatroskaPackets.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// Feeds cut, flipped and patched recordings to the parsers of structure, all in this process. A crash, a sanitizer's
// report, or a packet that is outside the file or overlaps another is a finding: the status is not 0. The same seed
// gives the same recordings; one whose packets are wrong is kept.
//   structure-fuzz SECONDS [SEED]
//   structure-fuzz FILE

namespace {

using mediafuzz::Bytes;

std::vector<Bytes> seeds() {
    using mediatest::samples::make;
    const std::vector<std::string> h264 = {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"};
    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), h264.begin(), h264.end());
        return mediatest::contentOf(make("mkv", more, 0.5));
    };
    return {with({}), with({"-live", "1", "-cluster_time_limit", "200"}), with({"-cluster_size_limit", "5000"}),
            mediatest::contentOf(make("mka", {"-vn", "-c:a", "libopus"}, 0.5))};
}

/// Whether all packets that the parser finds are in the file, one after the other.
bool isSound(const Bytes& bytes) {
    const int file = ::memfd_create("recording", MFD_CLOEXEC);
    bool isSound = ::write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    try {
        const worker::SourceReader reader(file);
        worker::MatroskaPackets packets(reader);
        std::int64_t end = 0;
        for (worker::StructuredPacket packet; isSound && packets.next(packet);) {
            isSound = packet.position >= end && packet.size > 0 &&
                      packets.payloadOf(packet).size() == static_cast<std::size_t>(packet.size) &&
                      packet.track < packets.tracks().size();
            end = packet.position + packet.size;
        }
        isSound = isSound && end <= static_cast<std::int64_t>(bytes.size());
    } catch (const worker::Irregularity&) {
    }
    ::close(file);
    return isSound;
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 2 && ::access(arguments[1], R_OK) == 0) {
        return isSound(mediatest::contentOf(arguments[1])) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(count > 1 ? std::atoi(arguments[1]) : 10);
    const auto seed = static_cast<unsigned>(count > 2 ? std::atoi(arguments[2]) : 1);
    const std::vector<Bytes> recordings = seeds();
    mediafuzz::Mutator mutator(seed);
    int runs = 0;
    for (; std::chrono::steady_clock::now() < end; ++runs) {
        const Bytes& first = recordings[mutator.below(recordings.size())];
        const Bytes bytes = mutator.mutated(first, recordings[mutator.below(recordings.size())]);
        if (!isSound(bytes)) {
            const std::string name = "structure-fuzz-" + std::to_string(seed) + "-" + std::to_string(runs) + ".rec";
            mediatest::writeFile(name, bytes);
            std::fprintf(stderr, "run %d of seed %u: see %s\n", runs, seed, name.c_str());
            return EXIT_FAILURE;
        }
    }
    std::printf("%d recordings, no finding\n", runs);
    return runs > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
