#pragma once

#include "mediaconverter/worker/accounting/Scan.h"

namespace worker {

/// Streams without a container whose packets are the whole file: H.264, HEVC, MPEG video, FLAC and the like. All bytes
/// but the texts before and after them have to be delivered.
class RawStreamScan final : public Scan {
public:
    /// Both must outlive it.
    RawStreamScan(SourceView& view, Ledger& ledger) : view_(view), ledger_(ledger) {}

    std::int64_t position() const override { return view_.size(); }
    void advance(std::int64_t) override {}
    void finish() override;
    std::vector<Expectation> expectations(const AVFormatContext& format) const override;

private:
    std::int64_t startOfStream();

    SourceView& view_;
    Ledger& ledger_;
    std::int64_t bytes_ = 0;
};

}  // namespace worker
