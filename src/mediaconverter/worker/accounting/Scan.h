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

/// What the library has to deliver of one of its streams for nothing to be lost.
struct Expectation {
    unsigned stream = 0;        ///< index of the library's stream
    std::int64_t packets = -1;  ///< at least so many; negative where packets are not what the container counts
    std::int64_t bytes = -1;    ///< at least so many; negative where the library changes the payload
    bool mayBeHidden = false;   ///< the recording itself says that parts are not to be shown
};

/// Bytes that the media library is to read in the place of those in the file.
struct Patch {
    std::int64_t start = 0;
    std::vector<std::uint8_t> bytes;
};

/// What the media library is to be shown in the place of a header that says what is not so.
struct Corrections {
    std::vector<Patch> patches;
    std::optional<std::int64_t> end;  ///< of the recording, where something else follows that would stop the library
};

/// The reading of one recording's structure, apart from the media library.
class Scan {
public:
    virtual ~Scan() = default;

    /// Asked for once, before the library reads the header.
    virtual Corrections corrections() { return {}; }

    /// Everything before this byte has been looked at.
    virtual std::int64_t position() const = 0;

    /// Goes on as far as the bytes before `end` tell.
    virtual void advance(std::int64_t end) = 0;

    /// Goes on to the end of the file.
    virtual void finish() = 0;

    /// The library has delivered this packet of `stream`, in the order of the file.
    virtual void addDelivered(const AVPacket& packet, const AVStream& stream) {
        static_cast<void>(packet);
        static_cast<void>(stream);
    }

    /// After finish().
    virtual std::vector<Expectation> expectations(const AVFormatContext& format) const = 0;

    /// What leads the library past the bytes of `lost`, which would stop it; empty where there is no need or no way.
    virtual std::vector<Patch> patchesOver(ByteRange lost) const {
        static_cast<void>(lost);
        return {};
    }
};

/// The payload of each stream whose `id` is the container's number for it.
std::vector<Expectation> expectBytesById(const Ledger& ledger, const AVFormatContext& format);

}  // namespace worker
