#pragma once

#include "mediaconverter/worker/accounting/ByteRanges.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace worker {

/// What a recording contains according to the container's structure: the payload of each stream, and the bytes that are
/// neither payload nor known structure. Streams are identified by the container's own numbers.
class Ledger {
public:
    struct Payload {
        std::int64_t units = 0;  ///< frames, blocks or samples, as the container counts them
        std::int64_t bytes = 0;
    };

    /// `length` bytes of `stream`, which contain `units`.
    void addPayload(std::uint32_t stream, std::int64_t length, std::int64_t units = 1);

    /// The bytes from `start` to `end` are neither payload nor structure. An empty range counts too: something is
    /// missing there.
    void addLost(std::int64_t start, std::int64_t end, const std::string& what);

    /// Something that is dropped on purpose, or was never written; for the log.
    void addNote(const std::string& text);

    /// The last `bytes` of the file are zeros without content.
    void addZeroTail(std::int64_t bytes);

    /// Only `have` of the last unit's `whole` bytes exist, because the recording ends there.
    void addCut(std::int64_t have, std::int64_t whole);

    const std::map<std::uint32_t, Payload>& payloads() const { return payloads_; }
    const std::vector<std::string>& notes() const { return notes_; }

    /// A sentence on what is lost; empty if nothing is.
    std::string lost() const;

    /// The lost ranges, in the order of the scan; the first thousand.
    const std::vector<ByteRange>& lostRanges() const { return lostRanges_; }

private:
    std::map<std::uint32_t, Payload> payloads_;
    std::vector<std::string> notes_;
    std::string firstLost_;
    std::vector<ByteRange> lostRanges_;
    std::int64_t lostBytes_ = 0;
    std::int64_t lostPlaces_ = 0;
};

}  // namespace worker
