#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

namespace worker {

/// IVF: a header, and frames, each preceded by its size.
class IvfGrammar final : public Grammar {
public:
    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t) const override { return true; }
    std::vector<Expectation> expectations(const Ledger& ledger, const AVFormatContext& format) const override;
};

}  // namespace worker
