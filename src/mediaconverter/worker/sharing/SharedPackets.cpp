#include "mediaconverter/worker/sharing/SharedPackets.h"

#include "mediaconverter/worker/sharing/NotShareable.h"
#include "mediaconverter/worker/structure/Irregularity.h"
#include "mediaconverter/worker/tracks/TrackPlan.h"

#include <algorithm>
#include <string>
#include <utility>

namespace worker {

namespace {

/// If the library's packets cannot be predicted after this many, they never can.
constexpr int mostCompared = 1000;

/// What is left out is overwritten; more than this share of the recording is not worth it.
constexpr std::int64_t leastShare = 20;

/// Room that is reserved but not used costs no memory; growing does.
constexpr std::int64_t usualPacket = 1000;
constexpr std::int64_t mostReserved = 1'000'000;

/// A failing disk also makes a structure look irregular.
[[noreturn]] void giveUp(const SourceReader& reader, const Irregularity& irregularity) {
    reader.requireNoError();
    throw NotShareable{"byte " + std::to_string(irregularity.position) + ": " + irregularity.what};
}

MatroskaPackets openPackets(const SourceReader& reader) {
    try {
        return MatroskaPackets(reader);
    } catch (const Irregularity& irregularity) {
        giveUp(reader, irregularity);
    }
}

}  // namespace

SharedPackets::SharedPackets(int source, const Recording& recording, Beginning& beginning,
                             std::vector<int> trackOfStream)
    : recording_(recording),
      format_(recording.format()),
      beginning_(beginning),
      reader_(source),
      packets_(openPackets(reader_)),
      trackOfStream_(std::move(trackOfStream)) {
    const int tracks = trackOfStream_.empty() ? -1 : *std::ranges::max_element(trackOfStream_);
    list_.tracks.resize(static_cast<std::size_t>(tracks + 1));
    for (PacketList::Track& track : list_.tracks) {
        track.packets.reserve(static_cast<std::size_t>(std::min(reader_.size() / usualPacket, mostReserved)));
    }
    unsigned stream = 0;
    for (const MatroskaTrack& track : packets_.tracks()) {
        sources_.emplace_back();
        if (!track.isStream) {
            continue;
        }
        if (stream >= format_.nb_streams) {
            throw NotShareable{"the library knows fewer streams"};
        }
        if (trackOfStream_[stream] >= 0) {
            const AVStream& known = *format_.streams[stream];
            sources_.back().emplace(Source{trackOfStream_[stream], LibraryFields(known), PayloadCheck(known)});
            if (!track.keepsPayload) {
                throw NotShareable{describe(known) + " is compressed once more"};
            }
        }
        ++stream;
    }
}

bool SharedPackets::read(AVPacket& packet) {
    try {
        return isPredicted_ ? readFromStructure(packet) : readFromLibrary(packet);
    } catch (const Irregularity& irregularity) {
        giveUp(reader_, irregularity);
    }
}

double SharedPackets::fractionRead() const {
    return static_cast<double>(packets_.position()) / static_cast<double>(std::max<std::int64_t>(reader_.size(), 1));
}

bool SharedPackets::readFromLibrary(AVPacket& packet) {
    while (beginning_.read(packet)) {
        const auto stream = static_cast<std::size_t>(packet.stream_index);
        if (stream >= trackOfStream_.size()) {
            throw NotShareable{"a stream that is not in the header"};
        }
        if (isAttachedPicture(*format_.streams[stream])) {
            packet.pos = -1;
            return true;
        }
        if (trackOfStream_[stream] >= 0) {
            compareFirst(packet);
            return true;
        }
        av_packet_unref(&packet);
    }
    StructuredPacket more;
    if (readKept(more)) {
        throw NotShareable{"the library finds fewer packets"};
    }
    finish();
    return false;
}

void SharedPackets::compareFirst(AVPacket& packet) {
    StructuredPacket own;
    if (!readKept(own)) {
        throw NotShareable{"the library finds more packets"};
    }
    const auto payload = packets_.payloadOf(own);
    const bool isSame = packet.stream_index < static_cast<int>(trackOfStream_.size()) &&
                        sources_[own.track]->track == trackOfStream_[static_cast<std::size_t>(packet.stream_index)] &&
                        packet.size == own.size && std::equal(payload.begin(), payload.end(), packet.data);
    if (!isSame || ++compared_ > mostCompared) {
        throw NotShareable{isSame ? "the library's times cannot be predicted" : "the library finds other packets"};
    }
    Source& source = *sources_[own.track];
    source.check.add(payload, own.position);
    source.fields.compare(packet, own, payload);
    packet.pos = own.position;
    addToList(own, packet);
    isPredicted_ = isPredictable();
}

bool SharedPackets::isPredictable() const {
    return std::ranges::all_of(sources_, [](const auto& source) { return !source || source->fields.isReliable(); });
}

bool SharedPackets::readFromStructure(AVPacket& packet) {
    StructuredPacket own;
    if (!readKept(own)) {
        finish();
        return false;
    }
    Source& source = *sources_[own.track];
    const auto payload = packets_.payloadOf(own);
    source.check.add(payload, own.position);
    source.fields.fill(packet, own, payload);
    addToList(own, packet);
    return true;
}

bool SharedPackets::readKept(StructuredPacket& packet) {
    while (packets_.next(packet)) {
        if (sources_[packet.track]) {
            return true;
        }
        leaveOut(packet.position, packet.position + packet.size);
    }
    return false;
}

void SharedPackets::leaveOut(std::int64_t start, std::int64_t end) {
    leftOut_.push_back({start, end});
    leftOutBytes_ += end - start;
    if (leftOutBytes_ > reader_.size() / leastShare) {
        throw NotShareable{"too much of it is left out"};
    }
}

void SharedPackets::addToList(const StructuredPacket& packet, const AVPacket& delivered) {
    if (list_.clusters.empty() || list_.clusters.back().position != packet.cluster) {
        PacketList::Cluster& cluster = list_.clusters.emplace_back();
        cluster.position = packet.cluster;
        for (const PacketList::Track& track : list_.tracks) {
            cluster.first.push_back(static_cast<std::uint32_t>(track.packets.size()));
        }
    }
    const bool isKey = (delivered.flags & AV_PKT_FLAG_KEY) != 0;
    list_.tracks[static_cast<std::size_t>(sources_[packet.track]->track)].packets.push_back(
        {packet.position, packet.time, 0, static_cast<std::uint32_t>(packet.size), isKey});
}

void SharedPackets::finish() {
    reader_.requireNoError();
    recording_.requireNoError();
    for (const auto& [start, end] : packets_.attachments()) {
        leaveOut(start, end);
    }
    for (const auto& source : sources_) {
        if (source && source->check.damaged() > 0) {
            throw NotShareable{"holes or noise in its packets"};
        }
    }
}

}  // namespace worker
