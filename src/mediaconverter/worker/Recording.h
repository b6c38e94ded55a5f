#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/SourceReader.h"

#include <cstdarg>
#include <cstdint>
#include <string>

namespace worker {

/// The recording, taken apart: what it is is told by its content alone. Only demuxers of a fixed list are let near
/// it, and they can open nothing else. Throws Failure.
class Recording {
public:
    /// The first megabytes tell what streams there are; where `lookAhead` is given, what is at that byte as well.
    explicit Recording(int descriptor, std::int64_t lookAhead = 0);
    ~Recording();

    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    AVFormatContext& format() { return *format_; }
    const AVFormatContext& format() const { return *format_; }

    /// The next packet; false at the end of the recording. An end that comes from an error throws.
    bool read(AVPacket& packet);

    /// How much of the recording has been read, 0 to 1.
    double fractionRead() const;

    /// Where the demuxer is, in bytes.
    std::int64_t position() const { return avio_tell(format_->pb); }

    std::int64_t size() const { return reader_.size(); }

    /// What could not be read and was passed over, in words; empty where all was well.
    const std::string& damage() const { return damage_; }

    /// Notes a place that could not be read. The first is kept in words.
    void addDamage(const std::string& what);

private:
    void open();
    void analyze();
    void learnStreamsAt(std::int64_t position);
    void coverGaps();
    bool readOn(AVPacket& packet);
    void follow(const AVPacket& packet);
    /// At the end: true where it was none and the demuxer stands before what comes next.
    bool findTheWay();
    bool isNearEnd(std::int64_t position) const { return position + tailBytes >= size(); }
    void hear(const std::string& complaint);
    static void logCallback(void* object, int level, const char* format, va_list arguments);

    /// Lets the demuxer's complaints through to one recording.
    class Listening {
    public:
        explicit Listening(Recording& recording);
        ~Listening();

        Listening(const Listening&) = delete;
        Listening& operator=(const Listening&) = delete;
    };

    /// What is missing at the very end is what the writer had no time for, not damage.
    static constexpr std::int64_t tailBytes = std::int64_t{64} * 1024;

    SourceReader reader_;
    InputPointer format_;
    std::string damage_;
    bool isFlv_ = false;
    int errorsInARow_ = 0;
    int timesLost_ = 0;
    std::int64_t packetStart_ = -1;  ///< of the last packet of which it is known, in bytes
    std::int64_t packetEnd_ = -1;    ///< before which nothing of it is left
    const Listening listening_{*this};
};

}  // namespace worker
