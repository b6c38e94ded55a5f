#include "mediaconverter/worker/proof/SampleReader.h"

#include <algorithm>

namespace worker {

namespace {

/// Large enough that the calls cost nothing, small enough for the processor's cache.
constexpr std::size_t blockSize = std::size_t{256} * 1024;

}  // namespace

SampleReader::SampleReader(const SourceReader& file)
    : file_(file), block_(std::make_unique<std::uint8_t[]>(blockSize)) {}

void SampleReader::addTrack(AVStream& stream, std::int64_t leastSize) {
    Track& track = tracks_.emplace_back();
    track.stream = &stream;
    track.leastSize = leastSize;
    track.entries = avformat_index_get_entries_count(&stream);
    advance(track);
}

void SampleReader::advance(Track& track) {
    do {
        track.entry = track.next < track.entries ? avformat_index_get_entry(track.stream, track.next++) : nullptr;
    } while (track.entry != nullptr && track.entry->size < track.leastSize);
}

SampleReader::Track* SampleReader::trackOfNextSample() {
    Track* first = nullptr;
    for (Track& track : tracks_) {
        if (track.entry != nullptr && (first == nullptr || track.entry->pos < first->entry->pos)) {
            first = &track;
        }
    }
    return first;
}

bool SampleReader::read() {
    while (Track* const track = trackOfNextSample()) {
        track->digest.addPlace(track->entry->size, track->entry->timestamp);
        if (!readPayload(track->digest, track->entry->pos, track->entry->size)) {
            return false;
        }
        advance(*track);
    }
    return true;
}

bool SampleReader::readPayload(TrackDigest& digest, std::int64_t position, std::int64_t size) {
    while (size > 0) {
        if ((position < start_ || position >= end_) && !fill(position)) {
            return false;
        }
        const std::int64_t taken = std::min(size, end_ - position);
        digest.addPayload({block_.get() + (position - start_), static_cast<std::size_t>(taken)});
        position += taken;
        size -= taken;
    }
    return true;
}

bool SampleReader::fill(std::int64_t position) {
    start_ = position;
    end_ = position + static_cast<std::int64_t>(file_.peek(position, block_.get(), blockSize));
    return end_ > start_;
}

}  // namespace worker
