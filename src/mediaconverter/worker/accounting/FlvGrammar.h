#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

namespace worker {

/// FLV (Adobe Flash Video File Format Specification 10.1, annex E): a unit is one tag with the size after it.
class FlvGrammar final : public Grammar {
public:
    /// Where the first tag is, by the file's header.
    static std::int64_t firstTag(SourceView& view);

    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    std::optional<Unit> guessAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override;
    std::vector<Expectation> expectations(const Ledger& ledger, const AVFormatContext& format) const override;
};

}  // namespace worker
