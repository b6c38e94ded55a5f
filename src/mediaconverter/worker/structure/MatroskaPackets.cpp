#include "mediaconverter/worker/structure/MatroskaPackets.h"

#include "mediaconverter/ByteOrder.h"
#include "mediaconverter/worker/accounting/EbmlElement.h"
#include "mediaconverter/worker/accounting/MatroskaLacing.h"
#include "mediaconverter/worker/structure/EbmlChildren.h"
#include "mediaconverter/worker/structure/Irregularity.h"
#include "mediaconverter/worker/structure/MatroskaIds.h"

#include <algorithm>
#include <numeric>

namespace worker {

namespace {

/// Times beyond this are damage; sums of a few of them do not overflow.
constexpr std::int64_t mostTime = std::int64_t{1} << 56U;

/// The identifiers of elements in the segment have this width, and no other elements do.
bool isInSegment(std::uint32_t identifier) {
    return identifier > 0xFFFFFF;
}

bool isIgnorable(std::uint32_t identifier) {
    return identifier == matroska::voidElement || identifier == matroska::checksum;
}

}  // namespace

MatroskaPackets::MatroskaPackets(const SourceReader& reader) : view_(reader) {
    readStart();
}

void MatroskaPackets::refuse(const char* what) const {
    throw Irregularity{what, position_};
}

MatroskaPackets::Element MatroskaPackets::elementAt(std::int64_t position, std::int64_t parentEnd) {
    const auto header = readEbmlHeader(view_.at(position, mostEbmlHeader));
    if (!header) {
        refuse("no element");
    }
    Element element = {header->id, position + static_cast<std::int64_t>(header->width), parentEnd,
                       header->isUnknownSize};
    if (element.content > parentEnd) {
        refuse("an element that is cut");
    }
    if (!header->isUnknownSize) {
        if (header->size > static_cast<std::uint64_t>(parentEnd - element.content)) {
            refuse("an element beyond the end of the one around it");
        }
        element.end = element.content + static_cast<std::int64_t>(header->size);
    } else if (header->id != matroska::segment && header->id != matroska::cluster) {
        refuse("an element of unknown size");
    }
    return element;
}

std::span<const std::uint8_t> MatroskaPackets::contentOf(const Element& element) {
    const auto size = static_cast<std::size_t>(element.end - element.content);
    const auto bytes = view_.at(element.content, size);
    if (bytes.size() < size) {
        refuse("an element that is too large");
    }
    return bytes;
}

void MatroskaPackets::readStart() {
    const Element head = elementAt(0, view_.size());
    if (head.id != matroska::ebml) {
        refuse("no EBML header");
    }
    position_ = head.end;
    const Element body = elementAt(position_, view_.size());
    if (body.id != matroska::segment || body.end != view_.size()) {
        refuse("no segment up to the end of the file");
    }
    position_ = body.content;
    segmentEnd_ = body.end;
    while (cluster_ < 0 && step()) {
    }
    if (tracks_.empty() || scale_ == 0) {
        refuse("no tracks");
    }
}

bool MatroskaPackets::next(StructuredPacket& packet) {
    while (nextFrame_ == frames_.size()) {
        if (!step()) {
            return false;
        }
    }
    packet = frames_[nextFrame_++];
    return true;
}

std::span<const std::uint8_t> MatroskaPackets::payloadOf(const StructuredPacket& packet) {
    const auto size = static_cast<std::size_t>(packet.size);
    const auto bytes = view_.at(packet.position, size);
    if (bytes.size() < size) {
        refuse("a packet that is too large");
    }
    return bytes;
}

bool MatroskaPackets::step() {
    if (position_ == segmentEnd_) {
        return false;
    }
    const bool isInCluster = cluster_ >= 0 && position_ < clusterEnd_;
    const Element element = elementAt(position_, isInCluster ? clusterEnd_ : segmentEnd_);
    if (!isInCluster || (isOpenCluster_ && isInSegment(element.id))) {
        stepInSegment(element);
    } else {
        stepInCluster(element);
    }
    return true;
}

void MatroskaPackets::stepInSegment(const Element& element) {
    cluster_ = -1;
    switch (element.id) {
    case matroska::cluster:
        if (tracks_.empty()) {
            refuse("a cluster before the tracks");
        }
        cluster_ = position_;
        clusterEnd_ = element.end;
        isOpenCluster_ = element.isUnknownSize;
        clusterTime_ = -1;
        position_ = element.content;
        return;
    case matroska::info:
        if (scale_ != 0) {
            refuse("a second description of the segment");
        }
        scale_ = readTimestampScale(contentOf(element), element.content);
        break;
    case matroska::tracks:
        if (!tracks_.empty() || scale_ == 0) {
            refuse("tracks that are repeated, or come before the description of the segment");
        }
        tracks_ = readMatroskaTracks(contentOf(element), scale_, element.content);
        break;
    case matroska::attachments:
        attachments_.push_back({element.content, element.end});
        break;
    case matroska::seekHead:
    case matroska::cues:
    case matroska::chapters:
    case matroska::tags:
    case matroska::voidElement:
    case matroska::checksum:
        break;
    default:
        refuse("an unknown element in the segment");
    }
    position_ = element.end;
}

void MatroskaPackets::stepInCluster(const Element& element) {
    switch (element.id) {
    case matroska::timestamp: {
        const std::uint64_t time = numberIn({element.id, contentOf(element), element.content});
        if (clusterTime_ >= 0 || time > static_cast<std::uint64_t>(mostTime)) {
            refuse("a second time of a cluster, or an absurd one");
        }
        clusterTime_ = static_cast<std::int64_t>(time);
        break;
    }
    case matroska::simpleBlock:
        readBlock({element.content, element.end});
        break;
    case matroska::blockGroup:
        readGroup(element);
        break;
    case matroska::clusterPosition:
    case matroska::previousSize:
    case matroska::voidElement:
    case matroska::checksum:
        break;
    default:
        refuse("an unknown element in a cluster");
    }
    position_ = element.end;
}

void MatroskaPackets::readGroup(const Element& group) {
    Block found;
    found.isSimple = false;
    for (std::int64_t at = group.content; at < group.end;) {
        const Element element = elementAt(at, group.end);
        at = element.end;
        const auto child = [&] { return EbmlChild{element.id, contentOf(element), element.content}; };
        if (element.id == matroska::block && found.content == 0) {
            found.content = element.content;
            found.end = element.end;
        } else if (element.id == matroska::blockDuration) {
            found.duration = static_cast<std::int64_t>(std::min<std::uint64_t>(numberIn(child()), mostTime));
        } else if (element.id == matroska::discardPadding) {
            found.discarded = signedNumberIn(child());
        } else if (element.id == matroska::referenceBlock) {
            found.hasReference = true;
        } else if (!isIgnorable(element.id) && element.id != matroska::referencePriority) {
            refuse("an unknown element in a group");
        }
    }
    if (found.content == 0) {
        refuse("a group without a block");
    }
    readBlock(found);
}

void MatroskaPackets::readBlock(const Block& block) {
    constexpr std::size_t mostHeader = 11;
    constexpr unsigned keyFlag = 0x80;
    constexpr unsigned lacingFlags = 0x06;
    const auto length = static_cast<std::size_t>(block.end - block.content);
    const auto bytes = view_.at(block.content, std::min(length, mostHeader));
    const auto number = readEbmlNumber(bytes);
    // The number is followed by a time of two bytes, and flags (RFC 9559, section 10.1).
    if (!number || number->width + 3 > bytes.size()) {
        refuse("a block without a header");
    }
    const auto offset = static_cast<std::int16_t>(mediaconverter::bigEndian(bytes, number->width, 2));
    const unsigned flags = bytes[number->width + 2];
    if (clusterTime_ < 0 || clusterTime_ + offset < 0) {
        refuse("a block without a time");
    }
    StructuredPacket packet;
    packet.track = indexOf(number->value);
    packet.cluster = cluster_;
    packet.position = block.content + static_cast<std::int64_t>(number->width) + 3;
    packet.size = block.end - packet.position;
    packet.time = clusterTime_ + offset - tracks_[packet.track].delay;
    packet.duration = block.duration;
    packet.discarded = block.discarded;
    packet.isKey = block.isSimple ? (flags & keyFlag) != 0 : !block.hasReference;
    addFrames(packet, flags & lacingFlags, tracks_[packet.track]);
}

void MatroskaPackets::addFrames(StructuredPacket packet, unsigned lacing, const MatroskaTrack& track) {
    const std::vector<std::int64_t> sizes = frameSizes(packet, lacing);
    const auto count = static_cast<std::int64_t>(sizes.size());
    const std::int64_t whole = packet.duration > 0 ? packet.duration : track.defaultDuration * count / scale_;
    if (count > 1 && (whole == 0 || packet.discarded != 0)) {
        refuse("frames in a block without times of their own");
    }
    frames_.clear();
    nextFrame_ = 0;
    for (std::int64_t index = 0; index < count; ++index) {
        packet.size = sizes[static_cast<std::size_t>(index)];
        packet.duration = whole * (index + 1) / count - whole * index / count;
        if (packet.size == 0) {
            refuse("an empty packet");
        }
        frames_.push_back(packet);
        packet.position += packet.size;
        packet.time += packet.duration;
        packet.isKey = false;
    }
}

std::vector<std::int64_t> MatroskaPackets::frameSizes(StructuredPacket& packet, unsigned lacing) {
    if (lacing == 0) {
        return {packet.size};
    }
    const auto sizes = readLacing(payloadOf(packet), lacing);
    if (!sizes) {
        refuse("a block whose lacing does not fit its size");
    }
    const std::int64_t end = packet.position + packet.size;
    packet.position = end - std::accumulate(sizes->begin(), sizes->end(), std::int64_t{0});
    return *sizes;
}

std::size_t MatroskaPackets::indexOf(std::uint64_t number) const {
    const auto found = std::ranges::find(tracks_, number, &MatroskaTrack::number);
    if (found == tracks_.end()) {
        refuse("a block of an unknown track");
    }
    return static_cast<std::size_t>(found - tracks_.begin());
}

}  // namespace worker
