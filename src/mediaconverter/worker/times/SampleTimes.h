#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>

namespace worker {

/// Exact times for audio whose container counts milliseconds or the like, which rounds each of them: counts samples
/// instead, as long as the container's times agree.
class SampleTimes {
public:
    /// Whether the stream's time base cannot count its samples.
    static bool areNeeded(const AVStream& stream);

    /// Both must outlive this.
    SampleTimes(const AVStream& source, const AVStream& target) : source_(source), target_(target) {}

    /// Converts the times of the next packet from the source's time base to the target's.
    void place(AVPacket& packet);

private:
    const AVStream& source_;
    const AVStream& target_;
    std::int64_t last_ = AV_NOPTS_VALUE;
};

}  // namespace worker
