#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

namespace worker {

/// MXF (SMPTE ST 377-1): a unit is one key with its length and value.
class MxfGrammar final : public Grammar {
public:
    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override { return byte == 0x06; }
    void accept(SourceView&, const Unit&, Ledger&) override {}

    /// The library splits some essence, so its bytes cannot be compared.
    std::vector<Expectation> expectations(const Ledger&, const AVFormatContext&) const override { return {}; }
};

}  // namespace worker
