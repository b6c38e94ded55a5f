#include "mediaconverter/worker/tracks/CodecThreads.h"

#include <algorithm>

namespace worker {

namespace {

/// More bring no gain at the sizes that meetings have.
constexpr int mostThreads = 16;

/// The share of the worker's 4 GiB that the codecs may use.
constexpr double budget = 2.25 * (std::int64_t{1} << 30U);

// Bytes per pixel of the frames that libx264 and a decoder keep, measured with 4K frames, and rounded up: for each of
// the encoder's threads a frame in progress, its reconstruction and its half-size copies; the same for its lookahead
// threads; and the decoder's, of up to 16 bits and 4:4:4.
constexpr double bytesPerEncoderThread = 10;
constexpr double bytesOfLookAhead = 55;
constexpr double bytesPerDecoderThread = 6;
constexpr double bytesOfReferences = 24;

double bytesFor(std::int64_t pixels, const CodecThreads& threads) {
    return static_cast<double>(pixels) *
           (bytesOfLookAhead + bytesOfReferences + threads.encoder * bytesPerEncoderThread +
            threads.decoder * bytesPerDecoderThread);
}

}  // namespace

CodecThreads codecThreadsFor(std::int64_t pixels, int processors, int tracks) {
    const int most = std::max(mostThreads / std::max(tracks, 1), 1);
    // What the libraries choose themselves if memory is no constraint.
    CodecThreads threads = {std::clamp(processors > 1 ? processors + 1 : 1, 1, most),
                            std::clamp(processors * 3 / 2, 1, most)};
    while (bytesFor(pixels, threads) * std::max(tracks, 1) > budget && (threads.decoder > 1 || threads.encoder > 1)) {
        int& larger = threads.decoder > threads.encoder ? threads.decoder : threads.encoder;
        --larger;
    }
    return threads;
}

}  // namespace worker
