#pragma once

#include "mediaconverter/worker/accounting/Scan.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>

namespace worker {

/// MPEG-TS (ISO/IEC 13818-1, 2.4): packets of 188 bytes, or of 192 or 204 with time stamps or check bytes. Counts the
/// payload of each stream that a program lists, by its packet identifier.
class TransportScan final : public Scan {
public:
    /// Both must outlive it.
    TransportScan(SourceView& view, Ledger& ledger) : view_(view), ledger_(ledger) {}

    std::int64_t position() const override { return position_; }
    void advance(std::int64_t end) override;
    void finish() override;
    std::vector<Expectation> expectations(const AVFormatContext& format) const override;

private:
    struct Stream {
        int counter = -1;        ///< of the last packet with payload
        bool isPes = false;      ///< its packets carry a stream, not tables
        bool isCounted = true;   ///< false once a header could not be read
        std::int64_t bytes = 0;  ///< of payload, as long as it is counted
        std::int64_t early = 0;  ///< bytes before the first start of a packet of the stream
    };

    bool findStride();
    void step();
    void passDamage();
    std::optional<std::int64_t> findSync(std::int64_t position, int convincing);
    void readPacket(std::span<const std::uint8_t> packet);
    void checkCounter(Stream& stream, std::span<const std::uint8_t> packet, bool hasPayload);
    void addPayload(Stream& stream, std::span<const std::uint8_t> payload, bool isStart);

    SourceView& view_;
    Ledger& ledger_;
    std::int64_t position_ = 0;
    std::int64_t stride_ = 0;  ///< from one sync byte to the next; 0 before it is known
    bool isStartOdd_ = false;
    std::map<std::uint32_t, Stream> streams_;
};

}  // namespace worker
