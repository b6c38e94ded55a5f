#pragma once

#include "mediaconverter/worker/accounting/UnitScanner.h"

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace worker {

/// Audio without a container: MP3, AAC with transport headers, AC-3, E-AC-3. A unit is a frame, or a metadata tag
/// before, between or after them (ID3, APE).
class AudioFrameGrammar final : public Grammar {
public:
    explicit AudioFrameGrammar(AVCodecID codec) : codec_(codec) {}

    std::optional<Unit> unitAt(SourceView& view, std::int64_t position) override;
    std::optional<Unit> guessAt(SourceView& view, std::int64_t position) override;
    bool canStart(std::uint8_t byte) const override;
    void accept(SourceView& view, const Unit& unit, Ledger& ledger) override;
    std::vector<Expectation> expectations(const Ledger& ledger, const AVFormatContext& format) const override;

private:
    bool isDescription(SourceView& view, const Unit& unit) const;

    AVCodecID codec_;
    bool hasFrames_ = false;
};

/// Length of the metadata tag at `position` (ID3v2, ID3v1, APE); none if there is no tag.
std::optional<std::int64_t> audioTagLength(SourceView& view, std::int64_t position);

}  // namespace worker
