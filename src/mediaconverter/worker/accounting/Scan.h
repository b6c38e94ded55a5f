#pragma once

#include "mediaconverter/worker/accounting/Ledger.h"
#include "mediaconverter/worker/accounting/SourceView.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <optional>
#include <vector>

namespace worker {

/// What the library has to deliver of one of its streams if nothing is lost.
struct Expectation {
    unsigned stream = 0;        ///< index of the library's stream
    std::int64_t packets = -1;  ///< at least this many; negative if the container does not count packets
    std::int64_t bytes = -1;    ///< at least this many; negative if the library changes the payload
    bool mayBeHidden = false;   ///< the recording itself marks parts as not to be shown
};

/// Bytes that the media library is to read in place of those in the file.
struct Patch {
    std::int64_t start = 0;
    std::vector<std::uint8_t> bytes;
};

/// What the media library is to see in place of a header with wrong values.
struct Corrections {
    std::vector<Patch> patches;
    std::optional<std::int64_t> end;  ///< end of the recording, if something follows that would stop the library
};

/// Reads the structure of one recording, independently of the media library.
class Scan {
public:
    virtual ~Scan() = default;

    /// Called once, before the library reads the header.
    virtual Corrections corrections() { return {}; }

    /// Everything before this byte has been examined.
    virtual std::int64_t position() const = 0;

    /// Continues as far as the bytes before `end` allow.
    virtual void advance(std::int64_t end) = 0;

    /// Continues to the end of the file.
    virtual void finish() = 0;

    /// The library has delivered this packet of `stream`, in the order of the file.
    virtual void addDelivered(const AVPacket& packet, const AVStream& stream) {
        static_cast<void>(packet);
        static_cast<void>(stream);
    }

    /// Call after finish().
    virtual std::vector<Expectation> expectations(const AVFormatContext& format) const = 0;

    /// Patches that lead the library past the bytes of `lost`, which would stop it; empty if none are needed or
    /// possible.
    virtual std::vector<Patch> patchesOver(ByteRange lost) const {
        static_cast<void>(lost);
        return {};
    }
};

/// The payload of each stream, where a stream's `id` is the container's number for it.
std::vector<Expectation> expectBytesById(const Ledger& ledger, const AVFormatContext& format);

}  // namespace worker
