#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

namespace worker {

/// FLV (Adobe Flash Video File Format Specification 10.1, annex E): a unit is one tag and the size that follows it.
class FlvGrammar final : public Grammar {
public:
    /// Position of the first tag according to the file's header.
    static std::int64_t firstTag(SourceView& view);

    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    std::optional<Unit> guessAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override;
    std::vector<Expectation> expectations(const Ledger& ledger, const AVFormatContext& format) const override;
};

}  // namespace worker
