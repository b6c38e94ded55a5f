#pragma once

#include "mediaconverter/worker/accounting/SourceView.h"
#include "mediaconverter/worker/structure/MatroskaHeader.h"

#include <cstdint>
#include <span>
#include <vector>

namespace worker {

/// A packet of a recording, as the structure of its container describes it.
struct StructuredPacket {
    std::size_t track = 0;       ///< index in MatroskaPackets::tracks()
    std::int64_t position = 0;   ///< of the payload, in bytes
    std::int64_t size = 0;       ///< of the payload, in bytes
    std::int64_t cluster = 0;    ///< position of its cluster, in bytes
    std::int64_t time = 0;       ///< of presentation, in ticks; the codec's delay is subtracted
    std::int64_t duration = 0;   ///< in ticks; 0 if it is not stated
    std::int64_t discarded = 0;  ///< at its end, in nanoseconds; at its start if negative
    bool isKey = false;          ///< as the container marks it
};

/// Reads the packets of a Matroska or WebM recording (RFC 8794, RFC 9559), in the order of the file: blocks and block
/// groups, laced frames, clusters and segments of unknown size. It is strict: everything that the standards do not
/// allow, and every feature that it does not know, throws Irregularity. It reads no payload.
class MatroskaPackets {
public:
    /// `reader` must outlive it. Reads up to the first cluster.
    explicit MatroskaPackets(const SourceReader& reader);

    const std::vector<MatroskaTrack>& tracks() const { return tracks_; }

    /// Nanoseconds per tick.
    std::int64_t scale() const { return scale_; }

    /// The content of `Attachments`, which are no tracks; complete at the end of the recording.
    struct Range {
        std::int64_t start;
        std::int64_t end;
    };
    const std::vector<Range>& attachments() const { return attachments_; }

    /// The next packet; false at the end of the recording.
    bool next(StructuredPacket& packet);

    /// The payload of a packet that next() has returned; valid until the next call of either.
    std::span<const std::uint8_t> payloadOf(const StructuredPacket& packet);

    /// Where the parser has arrived, in bytes.
    std::int64_t position() const { return position_; }

private:
    /// A block with what its group says about it.
    struct Block {
        std::int64_t content = 0;  ///< its start
        std::int64_t end = 0;
        std::int64_t duration = 0;
        std::int64_t discarded = 0;
        bool isSimple = true;
        bool hasReference = false;
    };

    struct Element {
        std::uint32_t id = 0;
        std::int64_t content = 0;
        std::int64_t end = 0;
        bool isUnknownSize = false;
    };

    [[noreturn]] void refuse(const char* what) const;
    Element elementAt(std::int64_t position, std::int64_t parentEnd);
    std::span<const std::uint8_t> contentOf(const Element& element);
    void readStart();
    bool step();
    void stepInSegment(const Element& element);
    void stepInCluster(const Element& element);
    void readGroup(const Element& group);
    void readBlock(const Block& block);
    void addFrames(StructuredPacket packet, unsigned lacing, const MatroskaTrack& track);
    std::vector<std::int64_t> frameSizes(StructuredPacket& packet, unsigned lacing);
    std::size_t indexOf(std::uint64_t number) const;

    SourceView view_;
    std::int64_t position_ = 0;
    std::int64_t segmentEnd_ = 0;
    std::int64_t scale_ = 0;
    std::vector<MatroskaTrack> tracks_;
    std::vector<Range> attachments_;
    std::int64_t cluster_ = -1;             ///< position of the current one; negative outside
    std::int64_t clusterEnd_ = 0;           ///< of the segment if the cluster's size is unknown
    bool isOpenCluster_ = false;            ///< it ends with the next one
    std::int64_t clusterTime_ = -1;         ///< in ticks; negative if not read yet
    std::vector<StructuredPacket> frames_;  ///< of the current block
    std::size_t nextFrame_ = 0;
};

}  // namespace worker
