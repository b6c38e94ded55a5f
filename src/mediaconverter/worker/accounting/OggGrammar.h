#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

#include <map>
#include <vector>

namespace worker {

/// Ogg (RFC 3533): a unit is one page. Each has a checksum and a number of its own.
class OggGrammar final : public Grammar {
public:
    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override { return byte == 'O'; }
    void accept(SourceView& view, const Unit& unit, Ledger& ledger) override;
    std::vector<Expectation> expectations(const Ledger& ledger, const AVFormatContext& format) const override;

private:
    struct Stream {
        std::uint32_t next = 0;  ///< number of the next page
        bool hasData = false;    ///< something other than headers has arrived
    };

    std::map<std::uint32_t, Stream> streams_;
    std::vector<std::uint32_t> order_;  ///< order in which the streams start, which is the library's order
    bool hasData_ = false;
};

}  // namespace worker
