#pragma once

#include "mediaconverter/worker/accounting/Scan.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace worker {

/// One link in a container's chain: a header and what it announces.
struct Unit {
    std::int64_t start = 0;
    std::int64_t length = 0;       ///< as the container states it, including the header; may extend beyond the file
    std::int64_t header = 0;       ///< bytes before the payload
    std::int64_t payload = -1;     ///< bytes of payload; negative for structure
    std::int64_t content = -1;     ///< bytes that follow as separate units; negative if unknown
    std::uint32_t stream = 0;      ///< of the payload
    std::uint32_t kind = 0;        ///< for the grammar itself
    bool endsRecording = false;    ///< another recording starts here, to which the rest belongs
    const char* damage = nullptr;  ///< what is wrong with it although it is complete

    std::int64_t end() const { return start + length; }
};

/// The rules for the sequence of units in one container. Reads headers, not payloads.
class Grammar {
public:
    virtual ~Grammar() = default;

    /// The unit at `position`, given all that have been accepted; none if there is none.
    virtual std::optional<Unit> unitAt(SourceView& view, std::int64_t position) = 0;

    /// The unit at `position`, recognised without knowledge of what precedes it; strict, because it is tried on noise.
    virtual std::optional<Unit> guessAt(SourceView& view, std::int64_t position) { return unitAt(view, position); }

    /// Whether a unit that guessAt() finds may start with this byte.
    virtual bool canStart(std::uint8_t byte) const = 0;

    /// `unit` is part of the recording. The default adds its payload.
    virtual void accept(SourceView& view, const Unit& unit, Ledger& ledger);

    /// The scan continues at `position` after something that is not a unit.
    virtual void resume(SourceView&, std::int64_t) {}

    /// The unit extends beyond the end of the file and nothing recognisable follows its header. The default records
    /// that.
    virtual void acceptCut(SourceView& view, const Unit& unit, Ledger& ledger);

    /// Called at the end of the file.
    virtual void finish(SourceView&, Ledger&) {}

    /// Like Scan::expectations().
    virtual std::vector<Expectation> expectations(const Ledger& ledger, const AVFormatContext& format) const {
        return expectBytesById(ledger, format);
    }

    /// Like Scan::patchesOver().
    virtual std::vector<Patch> patchesOver(ByteRange) const { return {}; }

    /// This many units in a row are not a coincidence.
    virtual int convincing() const { return 3; }
};

/// Walks the chain of units once, from the start of the file to its end. Everything between a unit and the next
/// convincing one counts as lost.
class UnitScanner final : public Scan {
public:
    /// `view` and `ledger` must outlive it; `start` is the position of the first unit.
    UnitScanner(std::unique_ptr<Grammar> grammar, SourceView& view, Ledger& ledger, std::int64_t start = 0);

    std::int64_t position() const override { return position_; }
    void advance(std::int64_t end) override;
    void finish() override;
    std::vector<Expectation> expectations(const AVFormatContext& format) const override {
        return grammar_->expectations(ledger_, format);
    }
    std::vector<Patch> patchesOver(ByteRange lost) const override { return grammar_->patchesOver(lost); }

private:
    void step();
    void stepBeyondEnd(const Unit& unit);
    void skipDamage(std::int64_t from, std::int64_t searchFrom, const char* what);
    std::optional<std::int64_t> findNext(std::int64_t position);
    bool isConvincing(std::int64_t position);

    std::unique_ptr<Grammar> grammar_;
    SourceView& view_;
    Ledger& ledger_;
    std::int64_t position_;
    std::int64_t guesses_ = 0;
};

}  // namespace worker
