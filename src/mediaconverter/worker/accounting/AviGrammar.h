#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

namespace worker {

/// AVI with or without OpenDML's further parts: a unit is one chunk, or the header of a list whose chunks are examined.
/// The sizes of lists are ignored, because a killed recorder has not set them.
class AviGrammar final : public Grammar {
public:
    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override;
    void accept(SourceView& view, const Unit& unit, Ledger& ledger) override;
    std::vector<Expectation> expectations(const Ledger& ledger, const AVFormatContext& format) const override;

private:
    bool hasData_ = false;
};

}  // namespace worker
