#pragma once

#include "mediaconverter/FaultTest.h"

#include <ostream>
#include <string>
#include <vector>

namespace mediatest {

/// What a player shows of one stream, in seconds, as ffprobe reads it with edit lists applied.
struct Shown {
    double first = 0;
    double end = 0;
    int packets = 0;  ///< without those that are decoded but not shown
    bool isText = false;
    bool isAudio = false;
};

/// One entry per stream, in their order; streams without packets are omitted.
std::vector<Shown> shownOf(const std::string& path);

/// Expects that both show the same except for one shift of all times: each stream's first time and end within `frame`
/// seconds, and the same number of video packets (and of audio packets, if it is `copied`).
void expectSameShown(const std::string& source, const std::string& result, bool copied, double frame = 0.025);

/// The container and codecs of a recording.
struct Kind {
    const char* name;
    const char* extension;
    Words video;
    Words audio;
    bool isCopied;
};

/// When its tracks start.
struct Start {
    const char* name;
    const char* video;   ///< seconds before its first frame
    const char* audio;   ///< as above
    const char* offset;  ///< of all times
};

inline std::ostream& operator<<(std::ostream& out, const Kind& kind) {
    return out << kind.name;
}

inline std::ostream& operator<<(std::ostream& out, const Start& start) {
    return out << start.name;
}

/// Records and converts, and expects that the MP4 shows what the recording shows.
class ShownTimesTest : public FaultTest {
protected:
    /// Video and a tone for two seconds, each after its delay.
    std::string record(const Kind& kind, const Start& start);

    void expectShownAsRecorded(const std::string& source, bool copied);
};

}  // namespace mediatest
