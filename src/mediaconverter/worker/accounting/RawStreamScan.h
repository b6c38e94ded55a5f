#pragma once

#include "mediaconverter/worker/accounting/FlacNumbers.h"
#include "mediaconverter/worker/accounting/Scan.h"

namespace worker {

/// Streams without a container whose packets are the whole file: H.264, HEVC, MPEG video, FLAC and the like. All bytes
/// except metadata tags before and after them must be delivered. FLAC's frames are numbered, and its header may state
/// the amount of audio, so that entirely missing frames are found too.
class RawStreamScan final : public Scan {
public:
    /// `view` and `ledger` must outlive it. `hasStartCodes` is true for video, whose units may be followed by any
    /// number of zeros.
    RawStreamScan(SourceView& view, Ledger& ledger, bool hasStartCodes)
        : view_(view), ledger_(ledger), hasStartCodes_(hasStartCodes), end_(view.size()) {}

    /// Hides the zeros at the end, which the library would take for part of the last frame.
    Corrections corrections() override;

    std::int64_t position() const override { return view_.size(); }
    void advance(std::int64_t) override {}
    void finish() override;
    void addDelivered(const AVPacket& packet, const AVStream& stream) override;
    std::vector<Expectation> expectations(const AVFormatContext& format) const override;

private:
    std::int64_t startOfStream();
    std::int64_t startOfFlac(std::int64_t position);

    SourceView& view_;
    Ledger& ledger_;
    const bool hasStartCodes_;
    std::int64_t end_;  ///< end of the data that the library sees
    std::int64_t bytes_ = 0;
    FlacNumbers flacNumbers_;
    std::int64_t flacSamples_ = 0;  ///< according to the header; 0 if it does not say
};

}  // namespace worker
