#pragma once

#include "mediaconverter/worker/times/FrameGrid.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <optional>
#include <vector>

namespace worker {

/// Moves the presentation times of frames to a grid of exact times, never by more than a tick of the container's clock.
/// A packet that is not on the grid keeps its time, and so do those that follow, until sixteen in a row lie on a grid
/// again: after a pause the frames may be out of phase, and the rate may change for good. Decoding times, which the
/// container does not store or rounds too, are the presentation times in order.
class FrameTimes {
public:
    /// Both streams must outlive this.
    FrameTimes(const AVStream& source, const AVStream& target, const FrameGrid& grid)
        : source_(source), target_(target), grid_(grid) {}

    /// Converts the times of the next packet from the source's time base to the target's.
    void place(AVPacket& packet);

private:
    void start(std::int64_t first);
    void follow(std::int64_t time);
    void search(std::int64_t time);
    void placeDecoding(AVPacket& packet);
    std::int64_t onGrid(std::int64_t time) const;

    const AVStream& source_;
    const AVStream& target_;
    FrameGrid grid_;
    // All of these are in the target's time base.
    std::int64_t frame_ = 0;
    std::int64_t tick_ = 0;
    std::int64_t origin_ = 0;  ///< of the grid
    std::int64_t least_ = 0;   ///< by how much the packets in a row are off
    std::int64_t most_ = 0;
    std::vector<std::int64_t> held_;  ///< presentation times of the frames that the decoder holds back, sorted
    std::optional<std::int64_t> lastDecoding_;
    int inARow_ = 0;  ///< packets on the grid, counted since it was last changed
    bool isFound_ = false;
};

}  // namespace worker
