#include "mediaconverter/worker/accounting/UnitScanner.h"

#include <algorithm>
#include <array>

namespace worker {

namespace {

/// No header is longer, so a header that crosses the end of a read is left for the next read.
constexpr std::int64_t headerReserve = 64;

constexpr std::size_t searchStep = std::size_t{64} * 1024;

/// The search for the next unit must not take longer than reading the file, whatever it contains. A file that exhausts
/// this is damaged all over.
constexpr std::int64_t freeGuesses = 1'000'000;
constexpr std::int64_t bytesPerGuess = 64;

}  // namespace

void Grammar::accept(SourceView&, const Unit& unit, Ledger& ledger) {
    if (unit.payload >= 0) {
        ledger.addPayload(unit.stream, unit.payload);
    }
}

void Grammar::acceptCut(SourceView& view, const Unit& unit, Ledger& ledger) {
    ledger.addCut(view.size() - unit.start, unit.length);
}

UnitScanner::UnitScanner(std::unique_ptr<Grammar> grammar, SourceView& view, Ledger& ledger, std::int64_t start)
    : grammar_(std::move(grammar)), view_(view), ledger_(ledger), position_(start) {}

void UnitScanner::advance(std::int64_t end) {
    while (position_ + headerReserve < end) {
        step();
    }
}

void UnitScanner::finish() {
    while (position_ < view_.size()) {
        step();
    }
    grammar_->finish(view_, ledger_);
}

void UnitScanner::step() {
    const auto unit = grammar_->unitAt(view_, position_);
    if (!unit || unit->length <= 0) {
        skipDamage(position_, position_ + 1, "data that does not belong to the container");
    } else if (unit->endsRecording) {
        ledger_.addLost(position_, view_.size(), "another recording begins here");
        position_ = view_.size();
    } else if (unit->length > view_.size() - position_) {
        stepBeyondEnd(*unit);
    } else {
        if (unit->damage != nullptr) {
            ledger_.addLost(unit->start, unit->end(), unit->damage);
        }
        grammar_->accept(view_, *unit, ledger_);
        position_ = unit->end();
    }
}

void UnitScanner::stepBeyondEnd(const Unit& unit) {
    const std::int64_t start = position_;
    if (findNext(start + std::max<std::int64_t>(unit.header, 1))) {
        skipDamage(start, start + std::max<std::int64_t>(unit.header, 1), "a size that extends beyond the end");
        return;
    }
    grammar_->acceptCut(view_, unit, ledger_);
    position_ = view_.size();
}

void UnitScanner::skipDamage(std::int64_t from, std::int64_t searchFrom, const char* what) {
    if (view_.firstNonZero(from) == view_.size()) {
        ledger_.addZeroTail(view_.size() - from);
        position_ = view_.size();
        return;
    }
    position_ = findNext(searchFrom).value_or(view_.size());
    ledger_.addLost(from, position_, what);
    grammar_->resume(view_, position_);
}

std::optional<std::int64_t> UnitScanner::findNext(std::int64_t position) {
    std::array<std::int64_t, 256> candidates{};
    while (position < view_.size()) {
        const auto bytes = view_.at(position, searchStep);
        if (bytes.empty()) {
            break;
        }
        // The view's bytes become invalid when a candidate is examined.
        std::size_t count = 0;
        std::size_t at = 0;
        for (; at < bytes.size() && count < candidates.size(); ++at) {
            if (grammar_->canStart(bytes[at])) {
                candidates[count++] = position + static_cast<std::int64_t>(at);
            }
        }
        for (std::size_t index = 0; index < count; ++index) {
            if (++guesses_ > freeGuesses + view_.size() / bytesPerGuess) {
                return std::nullopt;
            }
            if (isConvincing(candidates[index])) {
                return candidates[index];
            }
        }
        position += static_cast<std::int64_t>(at);
    }
    return std::nullopt;
}

bool UnitScanner::isConvincing(std::int64_t position) {
    for (int count = 0; count < grammar_->convincing(); ++count) {
        const auto unit = grammar_->guessAt(view_, position);
        if (!unit || unit->length <= 0 || unit->length > view_.size() - position) {
            return false;
        }
        position = unit->end();
        if (position == view_.size()) {
            return true;
        }
    }
    return true;
}

}  // namespace worker
