#include "mediaconverter/worker/accounting/ChunkedAudioScan.h"

#include "mediaconverter/ByteOrder.h"

#include <algorithm>
#include <limits>
#include <string>

namespace worker {

namespace {

using mediaconverter::bigEndian;

bool isPrintable(std::uint8_t byte) {
    return byte >= 0x20 && byte < 0x7F;
}

std::uint64_t readNumber(std::span<const std::uint8_t> bytes, bool isBigEndian) {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        value = value << 8U | bytes[isBigEndian ? index : bytes.size() - 1 - index];
    }
    return value;
}

}  // namespace

bool ChunkedAudioScan::isNamed(std::int64_t position, std::string_view name) {
    const auto bytes = view_.at(position, name.size());
    return bytes.size() == name.size() &&
           std::equal(bytes.begin(), bytes.end(), name.begin(),
                      [](std::uint8_t byte, char letter) { return byte == static_cast<std::uint8_t>(letter); });
}

bool ChunkedAudioScan::isBeginning(std::int64_t position) {
    return isNamed(position, layout_.beginning) || (layout_.beginning == "RIFF" && isNamed(position, "RF64"));
}

std::optional<ChunkedAudioScan::Chunk> ChunkedAudioScan::chunkAt(std::int64_t position) {
    const std::size_t width = layout_.nameWidth + layout_.sizeWidth;
    const auto bytes = view_.at(position, width);
    if (bytes.size() < width || !std::all_of(bytes.begin(), bytes.begin() + 4, isPrintable)) {
        return std::nullopt;
    }
    Chunk chunk;
    chunk.start = position;
    chunk.content = position + static_cast<std::int64_t>(width);
    const std::uint64_t most = layout_.sizeWidth == 4 ? UINT32_MAX : UINT64_MAX;
    const std::uint64_t size = readNumber(bytes.subspan(layout_.nameWidth), isBigEndian_);
    if (size == most) {
        chunk.size = -1;
    } else if (size > static_cast<std::uint64_t>(INT64_MAX / 2)) {
        return std::nullopt;
    } else {
        const std::int64_t header = layout_.countsHeader ? static_cast<std::int64_t>(width) : 0;
        chunk.size = std::max<std::int64_t>(static_cast<std::int64_t>(size) - header, 0);
    }
    return chunk;
}

std::int64_t ChunkedAudioScan::nextAfter(const Chunk& chunk) const {
    const std::int64_t end = chunk.content + chunk.size;
    return (end + layout_.alignment - 1) / layout_.alignment * layout_.alignment;
}

std::optional<ChunkedAudioScan::Chunk> ChunkedAudioScan::findData() {
    constexpr int mostChunks = 1000;
    std::int64_t position = layout_.firstChunk;
    std::int64_t wideSize = -1;
    for (int count = 0; count < mostChunks; ++count) {
        auto chunk = chunkAt(position);
        if (!chunk) {
            return std::nullopt;
        }
        if (isNamed(position, layout_.dataName)) {
            chunk->size = wideSize >= 0 ? wideSize : chunk->size;
            return chunk;
        }
        if (isNamed(position, "ds64")) {
            // The total size and the data size, eight bytes each.
            wideSizeAt_ = chunk->content + 8;
            const auto bytes = view_.at(wideSizeAt_, 8);
            wideSize = bytes.size() < 8 ? -1 : static_cast<std::int64_t>(readNumber(bytes, false) & INT64_MAX);
        }
        if (chunk->size < 0) {
            return std::nullopt;
        }
        position = nextAfter(*chunk);
    }
    return std::nullopt;
}

/// Whether complete chunks fill the file from `position` on.
bool ChunkedAudioScan::areChunks(std::int64_t position) {
    constexpr int mostChunks = 1000;
    for (int count = 0; count < mostChunks && position < view_.size(); ++count) {
        const auto chunk = chunkAt(position);
        if (!chunk || chunk->size < 0 || chunk->content + chunk->size > view_.size()) {
            return false;
        }
        position = nextAfter(*chunk);
    }
    return true;
}

Corrections ChunkedAudioScan::corrections() {
    isBigEndian_ = layout_.isBigEndian || isNamed(0, "RIFX");
    const auto data = findData();
    if (!data) {
        ledger_.addLost(0, view_.size(), "chunks that do not lead to the audio");
        return {};
    }
    const std::int64_t start = data->content + layout_.dataPrefix;
    const std::int64_t end = data->size < 0 ? view_.size() : data->content + data->size;
    if (end >= view_.size()) {
        setAudio(start, view_.size());
        // The library does not recognise unset sizes in Wave64.
        return {data->size < 0 && layout_.countsHeader ? stretch(*data) : std::vector<Patch>(), std::nullopt};
    }
    const std::int64_t next = nextAfter(*data);
    if (isBeginning(next) || isBeginning(end)) {
        setAudio(start, end);
        ledger_.addLost(next, view_.size(), "another recording begins here");
        return {{}, next};
    }
    const bool isUnset = data->size <= layout_.dataPrefix;
    if (!isUnset && (areChunks(next) || areChunks(end))) {
        setAudio(start, end);
        return {};
    }
    if (!isUnset && view_.firstNonZero(end) == view_.size()) {
        setAudio(start, end);
        ledger_.addZeroTail(view_.size() - end);
        return {{}, end};
    }
    setAudio(start, view_.size());
    const std::string text = "the header says " + std::to_string(std::max<std::int64_t>(end - start, 0)) +
                             " bytes of audio, but " + std::to_string(audioBytes_) + " follow; all are converted";
    if (isUnset) {
        ledger_.addNote(text);
    } else {
        // A stale size and something else after the audio look the same.
        ledger_.addLost(end, end, text);
    }
    return {stretch(*data), std::nullopt};
}

void ChunkedAudioScan::setAudio(std::int64_t start, std::int64_t end) {
    audioBytes_ = std::max<std::int64_t>(end - start, 0);
    ledger_.addPayload(0, audioBytes_);
}

std::vector<std::uint8_t> ChunkedAudioScan::number(std::uint64_t value, std::size_t width) const {
    std::vector<std::uint8_t> bytes;
    for (std::size_t index = 0; index < width; ++index) {
        const std::size_t place = isBigEndian_ ? width - 1 - index : index;
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * place)));
    }
    return bytes;
}

/// The size that reaches to the end of the file. A size that does not fit 32 bits is set to the largest value that
/// does.
std::vector<Patch> ChunkedAudioScan::stretch(const Chunk& data) const {
    const auto size = static_cast<std::uint64_t>(view_.size() - data.content);
    const bool isNarrow = layout_.sizeWidth == 4;
    // A reader takes 0 for audio up to the end; only WAV ever gets here with that much.
    const std::uint64_t said = isNarrow && size >= UINT32_MAX ? 0 : size;
    const std::uint64_t header = layout_.countsHeader ? static_cast<std::uint64_t>(data.content - data.start) : 0;
    std::vector<Patch> patches = {
        {data.start + static_cast<std::int64_t>(layout_.nameWidth), number(said + header, layout_.sizeWidth)}};
    if (wideSizeAt_ > 0) {
        patches.push_back({wideSizeAt_, number(size, 8)});
    }
    if (layout_.wholeSizeAt > 0) {
        patches.push_back(
            {static_cast<std::int64_t>(layout_.wholeSizeAt),
             number(std::min<std::uint64_t>(static_cast<std::uint64_t>(view_.size()) - 8, INT32_MAX), 4)});
    }
    return patches;
}

std::vector<Expectation> ChunkedAudioScan::expectations(const AVFormatContext& format) const {
    if (format.nb_streams == 0) {
        return {};
    }
    const AVCodecParameters& stream = *format.streams[0]->codecpar;
    const std::int64_t frame = std::max(stream.block_align, 1);
    const bool isPlain = av_get_bits_per_sample(stream.codec_id) > 0;
    return {{0, -1, isPlain ? audioBytes_ / frame * frame : -1}};
}

}  // namespace worker
