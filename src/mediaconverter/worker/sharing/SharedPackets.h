#pragma once

#include "mediaconverter/worker/accounting/ByteRanges.h"
#include "mediaconverter/worker/accounting/PayloadCheck.h"
#include "mediaconverter/worker/reading/Beginning.h"
#include "mediaconverter/worker/reading/SourceReader.h"
#include "mediaconverter/worker/sharing/LibraryFields.h"
#include "mediaconverter/worker/sharing/PacketList.h"
#include "mediaconverter/worker/structure/MatroskaPackets.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace worker {

/// The packets of a recording whose payload stays where it is. The first ones come from the media library, the others
/// from the recording's structure alone, as soon as both agree on every track. Throws NotShareable if they never do, or
/// if anything in the recording is irregular or damaged; also Failure.
class SharedPackets {
public:
    /// `recording` and `beginning`, from which no packet has been read yet, must outlive it. `trackOfStream` has the
    /// track of the MP4 for each of the library's streams, negative for those that are left out.
    SharedPackets(int source, const Recording& recording, Beginning& beginning, std::vector<int> trackOfStream);

    /// The next packet; false at the end. Its `pos` is that of its payload, negative if it has none in the data
    /// (covers). Its payload is valid until the next call, and not reference-counted unless the library read it.
    bool read(AVPacket& packet);

    /// How much of the recording has been read, 0 to 1.
    double fractionRead() const;

    /// The packets read so far.
    PacketList& list() { return list_; }
    const PacketList& list() const { return list_; }

    /// The payload of what is left out, complete at the end of the recording.
    const std::vector<ByteRange>& leftOut() const { return leftOut_; }

private:
    /// What belongs to one of the parser's tracks.
    struct Source {
        int track;  ///< of the MP4
        LibraryFields fields;
        PayloadCheck check;
    };

    bool readFromLibrary(AVPacket& packet);
    void compareFirst(AVPacket& packet);
    bool isPredictable() const;
    bool readFromStructure(AVPacket& packet);
    bool readKept(StructuredPacket& packet);
    void leaveOut(std::int64_t start, std::int64_t end);
    void addToList(const StructuredPacket& packet, const AVPacket& delivered);
    void finish();

    const Recording& recording_;
    const AVFormatContext& format_;
    Beginning& beginning_;
    SourceReader reader_;
    MatroskaPackets packets_;
    std::vector<int> trackOfStream_;
    std::vector<std::optional<Source>> sources_;  ///< for each of the parser's tracks; none if it is left out
    bool isPredicted_ = false;
    int compared_ = 0;
    PacketList list_;
    std::vector<ByteRange> leftOut_;
    std::int64_t leftOutBytes_ = 0;
};

}  // namespace worker
