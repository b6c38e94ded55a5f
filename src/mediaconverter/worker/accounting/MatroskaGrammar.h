#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

#include <cstdint>
#include <limits>
#include <map>
#include <vector>

namespace worker {

/// Matroska and WebM (RFC 8794, RFC 9559): a unit is one element, or the header of one whose children are examined: the
/// segment, clusters of known or unknown size, block groups.
class MatroskaGrammar final : public Grammar {
public:
    struct Track {
        std::uint64_t number = 0;
        bool isStream = false;      ///< of a type that becomes a stream in the library
        bool keepsPayload = false;  ///< the payload reaches the packet unchanged
    };

    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    std::optional<Unit> guessAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override;
    void accept(SourceView& view, const Unit& unit, Ledger& ledger) override;
    void resume(SourceView& view, std::int64_t position) override;

    /// The library creates its streams in the order of the tracks.
    std::vector<Expectation> expectations(const Ledger& ledger, const AVFormatContext& format) const override;

    /// An element that every reader skips.
    std::vector<Patch> patchesOver(ByteRange lost) const override;

private:
    static constexpr std::int64_t unknown = std::numeric_limits<std::int64_t>::max();

    std::optional<Unit> blockAt(SourceView& view, Unit unit) const;
    bool belongs(const Unit& unit) const;
    bool isTrack(std::uint64_t number) const;
    void readTracks(SourceView& view, const Unit& unit);
    void addBlock(SourceView& view, const Unit& unit, Ledger& ledger) const;

    std::vector<Track> tracks_;
    bool hasSegment_ = false;
    std::int64_t clusterEnd_ = 0;  ///< of the current cluster
    std::int64_t groupEnd_ = 0;
};

}  // namespace worker
