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

/// Compares what a recording contains according to its own structure with what the media library has delivered. It
/// reads the structure itself, independently of the library.
class Accounting {
public:
    /// `reader` must outlive it.
    explicit Accounting(const SourceReader& reader) : view_(reader) {}

    /// Starts for a recording of this format. The result corrects its header.
    Corrections begin(const AVInputFormat& format);

    /// Whether the format's structure is known.
    bool isPossible() const { return scan_ != nullptr; }

    /// The media library has read these bytes at `position`.
    void follow(std::int64_t position, std::span<const std::uint8_t> bytes);

    /// Removes from the packet those of its bytes that belong to the zeros at the end of the file. True if nothing is
    /// left.
    bool dropZeroTail(AVPacket& packet, const AVStream& stream);

    /// The library has delivered a packet of `stream`, which goes to its track or is dropped on purpose.
    void addDelivered(const AVPacket& packet, const AVStream& stream);

    /// The library has delivered the part of a packet that precedes the end of the recording; the packet is dropped.
    void addCut(const AVPacket& packet, const AVStream& stream);

    /// Call after the last packet: finds what is missing.
    void settle(const AVFormatContext& format);

    /// A sentence on what is lost; empty if nothing is. Call after settle().
    std::string lost() const { return ledger_.lost(); }

    /// Patches that lead the library to everything it has missed, if the reading starts again. Empty if it has missed
    /// nothing. Call after settle().
    std::vector<Patch> patches() const;

    /// For the log. Call after settle().
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
    ByteRange zeros_;  ///< the last ones found, so that a file of zeros is not read again and again
};

}  // namespace worker
