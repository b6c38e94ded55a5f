#pragma once

#include <string>
#include <vector>

namespace mediatest {

/// What a player shows of one stream, in seconds, as ffprobe reads it with edit lists applied.
struct Shown {
    double first = 0;
    double end = 0;
    int packets = 0;  ///< without those that are decoded and not shown
    bool isText = false;
    bool isAudio = false;
};

/// One entry per stream, in their order; streams without a packet are left out.
std::vector<Shown> shownOf(const std::string& path);

/// Expects that both show the same but for one shift of all times: each stream's first time and end within `frame`
/// seconds, and as many packets of video (of audio, too, where it is `copied`).
void expectSameShown(const std::string& source, const std::string& result, bool copied, double frame = 0.025);

}  // namespace mediatest
