#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

namespace worker {

/// ASF, WMV and WMA (Advanced Systems Format Specification 1.20.03): objects, and in the data object packets of one
/// size. The content of a packet is not examined.
class AsfGrammar final : public Grammar {
public:
    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override { return byte == 0x82; }
    void accept(SourceView& view, const Unit& unit, Ledger& ledger) override;
    std::vector<Expectation> expectations(const Ledger&, const AVFormatContext&) const override { return {}; }

private:
    void readHeader(SourceView& view, const Unit& unit);

    std::int64_t packetSize_ = 0;
    bool hasData_ = false;
};

}  // namespace worker
