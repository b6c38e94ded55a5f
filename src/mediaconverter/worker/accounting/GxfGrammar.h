#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

namespace worker {

/// GXF (SMPTE ST 360): a unit is one packet.
class GxfGrammar final : public Grammar {
public:
    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override { return byte == 0; }
    void accept(SourceView&, const Unit&, Ledger&) override {}
    std::vector<Expectation> expectations(const Ledger&, const AVFormatContext&) const override { return {}; }
};

}  // namespace worker
