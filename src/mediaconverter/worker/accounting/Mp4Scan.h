#pragma once

#include "mediaconverter/worker/accounting/ByteRanges.h"
#include "mediaconverter/worker/accounting/IsoBox.h"
#include "mediaconverter/worker/accounting/Mp4Samples.h"
#include "mediaconverter/worker/accounting/Scan.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace worker {

/// MP4, MOV and fragmented MP4: every byte of the media data must belong to a sample of an index, and every sample must
/// be in the file. Reads everything at the end.
class Mp4Scan final : public Scan {
public:
    /// Both must outlive it.
    Mp4Scan(SourceView& view, Ledger& ledger) : view_(view), ledger_(ledger) {}

    std::int64_t position() const override { return position_; }
    void advance(std::int64_t) override {}
    void finish() override;
    std::vector<Expectation> expectations(const AVFormatContext& format) const override;

private:
    void step();
    void passDamage();
    void readBox(const mediaconverter::FileBox& box);
    void readIndex(const mediaconverter::FileBox& box);
    void readFragment(const mediaconverter::FileBox& box);
    void readData(const mediaconverter::FileBox& box);
    void addSample(const Mp4Sample& sample);
    std::optional<std::int64_t> findNext(std::int64_t position);
    bool isBoxStart(std::int64_t position);
    std::span<const std::uint8_t> contentOf(const mediaconverter::FileBox& box);
    void compareData();
    void reportBeyondEnd();

    SourceView& view_;
    Ledger& ledger_;
    std::int64_t position_ = 0;
    std::vector<std::uint8_t> index_;  ///< the content of `moov`
    std::vector<Mp4Track> tracks_;
    bool hasFragments_ = false;
    bool isCut_ = false;  ///< the last box extends beyond the end
    std::int64_t guesses_ = 0;
    std::vector<ByteRange> data_;  ///< the content of the `mdat` boxes
    ByteRanges samples_;
    std::int64_t samplesBeyondEnd_ = 0;
    std::int64_t bytesBeyondEnd_ = 0;
};

}  // namespace worker
