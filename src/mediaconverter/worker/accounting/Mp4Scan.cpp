#include "mediaconverter/worker/accounting/Mp4Scan.h"

#include "mediaconverter/ByteOrder.h"

#include <algorithm>
#include <array>

namespace worker {

namespace {

using mediaconverter::bigEndian;
using mediaconverter::boxType;

constexpr std::array<std::uint32_t, 20> topLevel = {boxType("ftyp"), boxType("styp"), boxType("moov"), boxType("moof"),
                                                    boxType("mdat"), boxType("free"), boxType("skip"), boxType("sidx"),
                                                    boxType("ssix"), boxType("mfra"), boxType("uuid"), boxType("prft"),
                                                    boxType("emsg"), boxType("meta"), boxType("wide"), boxType("pdin"),
                                                    boxType("pnot"), boxType("PICT"), boxType("udta"), boxType("junk")};

bool isTopLevel(std::uint32_t type) {
    return std::find(topLevel.begin(), topLevel.end(), type) != topLevel.end();
}

/// No writer creates a larger fragment header.
constexpr std::int64_t mostFragmentHeader = std::int64_t{16} << 20U;

/// Enough for the index of a recording of weeks.
constexpr std::int64_t mostIndex = std::int64_t{1} << 30U;

constexpr std::size_t searchStep = std::size_t{64} * 1024;
constexpr std::int64_t mostGuesses = 1'000'000;

}  // namespace

void Mp4Scan::finish() {
    while (position_ < view_.size()) {
        step();
    }
    compareData();
    reportBeyondEnd();
}

void Mp4Scan::step() {
    const auto box = readIsoBox(view_, position_);
    if (!box || !isTopLevel(box->type)) {
        passDamage();
        return;
    }
    const bool isAnother = !index_.empty() && (box->is("ftyp") || box->is("moov")) && !hasFragments_;
    if (isAnother) {
        ledger_.addLost(position_, view_.size(), "another recording begins here");
        position_ = view_.size();
        return;
    }
    if (box->is("ftyp") && hasFragments_) {
        // Its fragments are delivered, but their times restart.
        ledger_.addLost(position_, position_, "another recording begins here");
    }
    if (box->end <= view_.size()) {
        readBox(*box);
        position_ = box->end;
        return;
    }
    const auto next = findNext(box->content);
    if (next) {
        ledger_.addLost(position_, box->content, "a size that extends beyond the end");
    }
    isCut_ = !next;
    const std::int64_t end = next.value_or(view_.size());
    if (box->is("mdat")) {
        data_.push_back({box->content, end});
    } else if (isCut_) {
        ledger_.addCut(view_.size() - box->start, box->end - box->start);
    }
    position_ = end;
}

void Mp4Scan::passDamage() {
    const std::int64_t start = position_;
    if (view_.firstNonZero(start) == view_.size()) {
        ledger_.addZeroTail(view_.size() - start);
        position_ = view_.size();
        return;
    }
    position_ = findNext(start + 1).value_or(view_.size());
    if (position_ == view_.size() && view_.size() - start < 8) {
        ledger_.addCut(view_.size() - start, 8);
        return;
    }
    ledger_.addLost(start, position_, "data that is not an MP4 box");
}

void Mp4Scan::readBox(const mediaconverter::FileBox& box) {
    if (box.is("moov")) {
        readIndex(box);
    } else if (box.is("moof")) {
        readFragment(box);
    } else if (box.is("mdat")) {
        data_.push_back({box.content, box.end});
    }
}

std::span<const std::uint8_t> Mp4Scan::contentOf(const mediaconverter::FileBox& box) {
    return view_.at(box.content, static_cast<std::size_t>(box.end - box.content));
}

void Mp4Scan::readIndex(const mediaconverter::FileBox& box) {
    if (box.end - box.content > mostIndex) {
        ledger_.addLost(box.start, box.end, "an index that is too large");
        return;
    }
    std::vector<std::uint8_t> index;
    for (std::int64_t at = box.content; at < box.end;) {
        const auto piece = view_.at(at, static_cast<std::size_t>(box.end - at));
        if (piece.empty()) {
            break;
        }
        index.insert(index.end(), piece.begin(), piece.end());
        at += static_cast<std::int64_t>(piece.size());
    }
    if (!index_.empty()) {
        // Writers of segments repeat it.
        if (index != index_) {
            ledger_.addLost(box.start, box.end, "another index");
        }
        return;
    }
    index_ = std::move(index);
    tracks_ = readMp4Tracks(index_);
    if (!visitMp4Samples(index_, [this](const Mp4Sample& sample) { addSample(sample); })) {
        ledger_.addLost(box.start, box.end, "an index whose tables contradict each other");
    }
}

void Mp4Scan::readFragment(const mediaconverter::FileBox& box) {
    hasFragments_ = true;
    const bool isFine =
        box.end - box.start <= mostFragmentHeader &&
        visitMp4Fragment(contentOf(box), box.start, tracks_, [this](const Mp4Sample& sample) { addSample(sample); });
    if (!isFine) {
        ledger_.addLost(box.start, box.end, "a fragment's header that is malformed");
    }
}

void Mp4Scan::addSample(const Mp4Sample& sample) {
    if (sample.size > view_.size() || sample.position > view_.size() - sample.size) {
        ++samplesBeyondEnd_;
        bytesBeyondEnd_ += sample.size;
        return;
    }
    ledger_.addPayload(sample.track, sample.size);
    samples_.add(sample.position, sample.position + sample.size);
}

void Mp4Scan::compareData() {
    for (const ByteRange& data : data_) {
        for (const ByteRange& missing : samples_.missingIn(data)) {
            const bool isEnd = isCut_ && missing.end == view_.size();
            // Padding of a box may be zeros.
            if (!isEnd && view_.firstNonZero(missing.start) < missing.end) {
                ledger_.addLost(missing.start, missing.end, "data that no index mentions");
            }
        }
    }
}

void Mp4Scan::reportBeyondEnd() {
    if (samplesBeyondEnd_ == 0) {
        return;
    }
    const std::string text = std::to_string(samplesBeyondEnd_) + " samples of " + std::to_string(bytesBeyondEnd_) +
                             " bytes were to follow the end of the file";
    if (hasFragments_ && isCut_) {
        ledger_.addNote(text);
    } else {
        ledger_.addLost(view_.size(), view_.size(), text);
    }
}

bool Mp4Scan::isBoxStart(std::int64_t position) {
    for (int count = 0; count < 2; ++count) {
        const auto box = readIsoBox(view_, position);
        if (!box || !isTopLevel(box->type) || (count == 0 && box->end > view_.size())) {
            return false;
        }
        position = box->end;
        if (position >= view_.size()) {
            return true;
        }
    }
    return true;
}

std::optional<std::int64_t> Mp4Scan::findNext(std::int64_t position) {
    while (position < view_.size()) {
        std::array<std::int64_t, 256> candidates{};
        std::size_t count = 0;
        const auto bytes = view_.at(position, searchStep);
        std::size_t at = 4;
        for (; at + 4 <= bytes.size() && count < candidates.size(); ++at) {
            const auto type = static_cast<std::uint32_t>(bigEndian(bytes, at, 4));
            if (isTopLevel(type)) {
                candidates[count++] = position + static_cast<std::int64_t>(at) - 4;
            }
        }
        for (std::size_t index = 0; index < count && ++guesses_ < mostGuesses; ++index) {
            if (isBoxStart(candidates[index])) {
                return candidates[index];
            }
        }
        if (bytes.size() < 8 || guesses_ >= mostGuesses) {
            break;
        }
        position += static_cast<std::int64_t>(at) - 4;
    }
    return std::nullopt;
}

std::vector<Expectation> Mp4Scan::expectations(const AVFormatContext& format) const {
    auto expected = expectBytesById(ledger_, format);
    for (Expectation& one : expected) {
        const auto id = static_cast<std::uint32_t>(format.streams[one.stream]->id);
        const auto track = std::find_if(tracks_.begin(), tracks_.end(),
                                        [id](const Mp4Track& candidate) { return candidate.id == id; });
        one.mayBeHidden = track != tracks_.end() && track->hasEdits;
    }
    return expected;
}

}  // namespace worker
