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
    int packets = 0;  ///< without those that are decoded and not shown
    bool isText = false;
    bool isAudio = false;
};

/// One entry per stream, in their order; streams without a packet are left out.
std::vector<Shown> shownOf(const std::string& path);

/// Expects that both show the same but for one shift of all times: each stream's first time and end within `frame`
/// seconds, and as many packets of video (of audio, too, where it is `copied`).
void expectSameShown(const std::string& source, const std::string& result, bool copied, double frame = 0.025);

/// What a recording is made of.
struct Kind {
    const char* name;
    const char* extension;
    Words video;
    Words audio;
    bool isCopied;
};

/// When its tracks begin.
struct Start {
    const char* name;
    const char* video;   ///< seconds before its first picture
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
    /// Pictures and a tone for two seconds, each after its delay.
    std::string record(const Kind& kind, const Start& start);

    void expectShownAsRecorded(const std::string& source, bool copied);
};

}  // namespace mediatest
