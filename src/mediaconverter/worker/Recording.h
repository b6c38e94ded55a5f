#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/PictureOrder.h"
#include "mediaconverter/worker/SourceReader.h"
#include "mediaconverter/worker/accounting/Accounting.h"
#include "mediaconverter/worker/accounting/CutPackets.h"

#include <cstdint>
#include <string>

namespace worker {

/// The recording, taken apart: what it is is told by its content alone. Only demuxers of a fixed list are let near
/// it, and they can open nothing else. Throws Failure.
class Recording {
public:
    /// The first megabytes tell what streams there are; where `lookAhead` is given, what is at that byte as well.
    /// `patches` lead past damage that stopped an earlier reading.
    explicit Recording(int descriptor, std::int64_t lookAhead = 0, const std::vector<Patch>& patches = {});
    ~Recording();

    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    AVFormatContext& format() { return *format_; }
    const AVFormatContext& format() const { return *format_; }

    /// The next packet; false at the end of the recording. An end that comes from an error throws.
    bool read(AVPacket& packet);

    /// False where packets, or some of them, come without the time at which they are shown.
    bool givesPresentationTimes() const;

    /// What the time of a picture means in such a format.
    PictureOrder::Times timesOfPictures() const;

    /// How much of the recording has been read, 0 to 1.
    double fractionRead() const;

    /// Where the demuxer is, in bytes.
    std::int64_t position() const { return avio_tell(format_->pb); }

    std::int64_t size() const { return reader_.size(); }

    /// After the last packet: compares what is in the recording with what has been read. Its notes are for the log.
    const std::vector<std::string>& settle();

    /// What leads to the packets that this reading has missed. After settle().
    std::vector<Patch> patches() const { return accounting_.patches(); }

    /// What could not be read and was passed over, in words; empty where all was well.
    const std::string& damage() const { return damage_; }

    /// Notes a place that could not be read. The first is kept in words.
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
    /// At the end: true where it was none and the demuxer stands before what comes next.
    bool resumeAfterDamage();

    SourceReader reader_;
    Accounting accounting_{reader_};
    InputPointer format_;
    std::string damage_;
    bool isFlv_ = false;
    CutPackets cutPackets_{accounting_};
    std::int64_t firstFragment_ = INT64_MAX;  ///< in bytes
    int errorsInARow_ = 0;
    int timesLost_ = 0;
    std::int64_t packetStart_ = -1;  ///< of the last packet of which it is known, in bytes
    std::int64_t packetEnd_ = -1;    ///< before which nothing of it is left
};

}  // namespace worker
