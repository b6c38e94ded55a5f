#pragma once

#include "mediaconverter/worker/accounting/ChunkLayout.h"
#include "mediaconverter/worker/accounting/Scan.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace worker {

/// WAV, RF64, Wave64, AIFF and CAF. A killed recorder leaves an unset or too small size in the header: then everything
/// that follows is audio.
class ChunkedAudioScan final : public Scan {
public:
    /// All must outlive it.
    ChunkedAudioScan(const ChunkLayout& layout, SourceView& view, Ledger& ledger)
        : layout_(layout), view_(view), ledger_(ledger) {}

    Corrections corrections() override;
    std::int64_t position() const override { return view_.size(); }
    void advance(std::int64_t) override {}
    void finish() override {}
    std::vector<Expectation> expectations(const AVFormatContext& format) const override;

private:
    struct Chunk {
        std::int64_t start = 0;
        std::int64_t content = 0;
        std::int64_t size = 0;  ///< of the content, as stated; negative if it is stated as unknown
    };

    std::optional<Chunk> chunkAt(std::int64_t position);
    std::int64_t nextAfter(const Chunk& chunk) const;
    bool isNamed(std::int64_t position, std::string_view name);
    bool isBeginning(std::int64_t position);
    std::optional<Chunk> findData();
    bool areChunks(std::int64_t position);
    std::vector<Patch> stretch(const Chunk& data) const;
    std::vector<std::uint8_t> number(std::uint64_t value, std::size_t width) const;
    void setAudio(std::int64_t start, std::int64_t end);

    const ChunkLayout& layout_;
    SourceView& view_;
    Ledger& ledger_;
    bool isBigEndian_ = false;
    std::int64_t wideSizeAt_ = 0;  ///< where RF64 stores the size of its data
    std::int64_t audioBytes_ = 0;
};

}  // namespace worker
