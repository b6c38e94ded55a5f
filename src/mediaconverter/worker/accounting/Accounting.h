#pragma once

#include "mediaconverter/worker/accounting/PayloadCheck.h"
#include "mediaconverter/worker/accounting/Scan.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace worker {

class SourceReader;

/// Compares what is in a recording by its own structure with what the media library has delivered of it. Independent
/// of the library: it reads the structure itself.
class Accounting {
public:
    /// `reader` must outlive it.
    explicit Accounting(const SourceReader& reader) : view_(reader) {}

    /// The recording is of this format. What is returned corrects its header.
    Corrections begin(const AVInputFormat& format);

    /// True where the format's structure is known.
    bool isPossible() const { return scan_ != nullptr; }

    /// The media library has read these bytes at `position`.
    void follow(std::int64_t position, std::span<const std::uint8_t> bytes);

    /// Takes away what the packet holds of the zeros that fill the rest of the file. True where nothing is left of it.
    bool dropZeroTail(AVPacket& packet, const AVStream& stream);

    /// The library has delivered a packet of `stream`, which goes on to its track or is left out on purpose.
    void addDelivered(const AVPacket& packet, const AVStream& stream);

    /// The library has delivered what the end of the recording has left of a packet, and that is all that becomes of
    /// it.
    void addCut(const AVPacket& packet, const AVStream& stream);

    /// After the last packet: finds what is missing.
    void settle(const AVFormatContext& format);

    /// A sentence on what is lost; empty where nothing is. After settle().
    std::string lost() const { return ledger_.lost(); }

    /// What leads the library to all that it has missed, if the reading begins again. After settle(); empty where it
    /// has missed nothing.
    std::vector<Patch> patches() const;

    /// For the log. After settle().
    const std::vector<std::string>& notes() const { return ledger_.notes(); }

private:
    struct Delivered {
        Ledger::Payload payload;
        std::optional<PayloadCheck> check;
    };

    bool isZeroFrom(std::int64_t position);
    void compare(const Expectation& expected);
    void reportDamagedPackets();

    SourceView view_;
    Ledger ledger_;
    std::unique_ptr<Scan> scan_;
    std::vector<Delivered> delivered_;
    bool hasMissed_ = false;
    ByteRange zeros_;  ///< the last ones looked at, so that no file of zeros is read again and again
};

}  // namespace worker
