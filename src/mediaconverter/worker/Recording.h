#pragma once

#include "mediaconverter/worker/AvPointers.h"
#include "mediaconverter/worker/SourceReader.h"

#include <cstdint>

namespace worker {

/// The recording, taken apart: what it is is told by its content alone. Only demuxers of a fixed list are let near
/// it, and they can open nothing else. Throws Failure.
class Recording {
public:
    explicit Recording(int descriptor);

    AVFormatContext& format() { return *format_; }
    const AVFormatContext& format() const { return *format_; }

    /// The next packet; false at the end of the recording. An end that comes from an error throws.
    bool read(AVPacket& packet);

    /// How much of the recording has been read, 0 to 1.
    double fractionRead() const;

    std::int64_t size() const { return reader_.size(); }

    /// What could not be read and was passed over, in words; empty where all was well.
    const std::string& damage() const { return damage_; }

    /// Notes a place that could not be read. The first is kept in words.
    void addDamage(const std::string& what);

private:
    void open();

    SourceReader reader_;
    InputPointer format_;
    std::string damage_;
};

}  // namespace worker
