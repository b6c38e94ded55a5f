#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/accounting/Accounting.h"
#include "mediaconverter/worker/accounting/CutPackets.h"
#include "mediaconverter/worker/reading/FlvTrail.h"
#include "mediaconverter/worker/reading/SourceReader.h"
#include "mediaconverter/worker/times/PictureOrder.h"

#include <cstdint>
#include <optional>
#include <string>

namespace worker {

/// Demuxes the recording. The format is detected from the content, never from the name. Only demuxers of a fixed list
/// are used, and they can open no other file. Throws Failure.
class Recording {
public:
    /// The first megabytes show which streams exist; if `lookAhead` is given, so does the data at that byte. `patches`
    /// lead past damage that stopped an earlier reading.
    explicit Recording(int descriptor, std::int64_t lookAhead = 0, const std::vector<Patch>& patches = {});
    ~Recording();

    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    AVFormatContext& format() { return *format_; }
    const AVFormatContext& format() const { return *format_; }

    /// The next packet; false at the end of the recording. Throws if an error caused the end.
    bool read(AVPacket& packet);

    /// False if some packets come without a presentation time.
    bool givesPresentationTimes() const;

    /// The meaning of a frame's time in such a format.
    PictureOrder::Times timesOfPictures() const;

    /// How much of the recording has been read, 0 to 1.
    double fractionRead() const;

    /// The demuxer's position, in bytes.
    std::int64_t position() const { return avio_tell(format_->pb); }

    std::int64_t size() const { return reader_.size(); }

    /// Throws Failure if a read has failed.
    void requireNoError() const { reader_.requireNoError(); }

    /// Call after the last packet: compares what is in the recording with what has been read. The notes are for the
    /// log.
    const std::vector<std::string>& settle();

    /// Patches that lead to the packets that this reading has missed. Call after settle().
    std::vector<Patch> patches() const { return accounting_.patches(); }

    /// What could not be read and was skipped, in words; empty if nothing was.
    const std::string& damage() const { return damage_; }

    /// Records a position that could not be read. The first is kept in words.
    void addDamage(const std::string& what);

private:
    void open();
    void analyze();
    void learnStreamsAt(std::int64_t position);
    void coverGaps();
    void correctHeader(const Corrections& corrections);
    void readAgain();
    bool readOn(AVPacket& packet);
    bool readWhole(AVPacket& packet);
    bool isKeptBack(AVPacket& packet);
    void follow(const AVPacket& packet);
    /// At the end: true if it was not the end, and the demuxer is positioned at the data after the damage.
    bool resumeAfterDamage();

    SourceReader reader_;
    Accounting accounting_{reader_};
    InputPointer format_;
    std::string damage_;
    std::optional<FlvTrail> flv_;
    CutPackets cutPackets_{accounting_};
    std::int64_t firstFragment_ = INT64_MAX;  ///< in bytes
    int errorsInARow_ = 0;
};

}  // namespace worker
