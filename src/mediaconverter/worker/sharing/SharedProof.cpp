#include "mediaconverter/worker/sharing/SharedProof.h"

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/accounting/MatroskaGrammar.h"
#include "mediaconverter/worker/accounting/SourceView.h"
#include "mediaconverter/worker/reading/SourceReader.h"
#include "mediaconverter/worker/sharing/NotShareable.h"
#include "mediaconverter/worker/sharing/SampledPackets.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"

#include <algorithm>
#include <span>
#include <string>
#include <vector>

namespace worker {

namespace {

[[noreturn]] void disprove(std::size_t track, const std::string& what) {
    throw NotShareable{"track " + std::to_string(track) + " could not be proved: " + what};
}

InputPointer open(SourceReader& reader, const char* format) {
    AVFormatContext* context = present(avformat_alloc_context());
    context->pb = reader.context();
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    AVDictionary* options = nullptr;
    // Counts the samples that exist, not those that the edit list shows.
    av_dict_set(&options, "advanced_editlist", "0", 0);
    const int opened = avformat_open_input(&context, "", av_find_input_format(format), &options);
    av_dict_free(&options);
    if (opened < 0) {
        throw NotShareable{"the library cannot open it"};
    }
    return InputPointer(context);
}

void compareEntries(std::size_t track, AVStream& read, std::span<const ListedPacket> packets,
                    std::int64_t payloadStart) {
    const int count = avformat_index_get_entries_count(&read);
    if (static_cast<std::size_t>(count) != packets.size()) {
        disprove(track, "it has " + std::to_string(count) + " samples");
    }
    const std::int64_t start = avformat_index_get_entry(&read, 0)->timestamp - packets.front().decodingTime;
    for (int index = 0; index < count; ++index) {
        const AVIndexEntry& entry = *avformat_index_get_entry(&read, index);
        const ListedPacket& packet = packets[static_cast<std::size_t>(index)];
        const bool isKey = (entry.flags & AVINDEX_KEYFRAME) != 0;
        if (entry.pos != payloadStart + packet.position || static_cast<std::uint32_t>(entry.size) != packet.size ||
            entry.timestamp != packet.decodingTime + start || isKey != packet.isKey) {
            disprove(track, "sample " + std::to_string(index) + " is not the packet of the recording");
        }
    }
}

void proveIndex(SourceReader& output, const PacketList& list, std::int64_t payloadStart) {
    const InputPointer format = open(output, "mp4");
    unsigned next = 0;
    for (std::size_t track = 0; track < list.tracks.size(); ++track) {
        const auto& packets = list.tracks[track].packets;
        if (packets.empty()) {
            continue;
        }
        while (next < format->nb_streams && isAttachedPicture(*format->streams[next])) {
            ++next;
        }
        if (next == format->nb_streams) {
            disprove(track, "it is missing");
        }
        compareEntries(track, *format->streams[next++], packets, payloadStart);
    }
}

/// Whether the MP4 has the packet's bytes where the list says.
bool isStored(const AVPacket& packet, SourceView& output, std::int64_t position) {
    const auto bytes = output.at(position, static_cast<std::size_t>(packet.size));
    return bytes.size() == static_cast<std::size_t>(packet.size) && std::equal(bytes.begin(), bytes.end(), packet.data);
}

void proveSample(SourceReader& source, const SourceReader& output, const PacketList& list,
                 std::span<const int> trackOfStream, std::int64_t payloadStart) {
    SampledPackets sample(list);
    SourceView stored(output);
    // The library skips everything between the clusters of the sample.
    for (const ByteRange& gap : sample.gaps()) {
        for (Patch& patch : MatroskaGrammar().patchesOver(gap)) {
            source.patch(patch.start, std::move(patch.bytes));
        }
    }
    const InputPointer format = open(source, "matroska");
    const PacketPointer packet = newPacket();
    for (; av_read_frame(format.get(), packet.get()) >= 0; av_packet_unref(packet.get())) {
        const auto stream = static_cast<std::size_t>(packet->stream_index);
        if (isAttachedPicture(*format->streams[stream]) || stream >= trackOfStream.size() ||
            trackOfStream[stream] < 0) {
            continue;
        }
        const auto track = static_cast<std::size_t>(trackOfStream[stream]);
        const ListedPacket* const listed = sample.next(track);
        const bool isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
        if (listed == nullptr || static_cast<std::uint32_t>(packet->size) != listed->size ||
            packet->pts != listed->time || isKey != listed->isKey ||
            !isStored(*packet, stored, payloadStart + listed->position)) {
            disprove(track, "it differs from what the library reads");
        }
    }
    for (std::size_t track = 0; track < list.tracks.size(); ++track) {
        if (sample.next(track) != nullptr) {
            disprove(track, "the library reads fewer packets");
        }
    }
}

}  // namespace

void proveSharedMp4(int source, int output, const PacketList& list, std::span<const int> trackOfStream,
                    std::int64_t payloadStart) {
    SourceReader result(output);
    SourceReader recording(source);
    const auto requireReadable = [&] {
        recording.requireNoError();
        try {
            result.requireNoError();
        } catch (const Failure& failure) {
            throw Failure(ConversionError::proofFailed, failure.detail);
        }
    };
    try {
        proveIndex(result, list, payloadStart);
        proveSample(recording, result, list, trackOfStream, payloadStart);
    } catch (const NotShareable&) {
        // A failing disk says nothing about the MP4.
        requireReadable();
        throw;
    }
    requireReadable();
}

}  // namespace worker
