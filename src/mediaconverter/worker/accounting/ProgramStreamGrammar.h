#pragma once

#include "mediaconverter/worker/accounting/ProgramParts.h"
#include "mediaconverter/worker/accounting/UnitScanner.h"

namespace worker {

/// MPEG-PS (ISO/IEC 11172-1, 2.4.3; ISO/IEC 13818-1, 2.5.3): a unit is a pack's header or a packet of one stream.
class ProgramStreamGrammar final : public Grammar {
public:
    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override { return byte == 0; }
    void accept(SourceView& view, const Unit& unit, Ledger& ledger) override;

private:
    void followParts(SourceView& view, const Unit& unit, Ledger& ledger);

    bool hasEnded_ = false;
    ProgramParts parts_;
};

}  // namespace worker
