#pragma once

#include <string>
#include <vector>

/// What has become of one leftover recording. Value.
struct Outcome {
    enum class Kind { converted, alreadyMp4, failed, stillWritten };

    Kind kind = Kind::failed;
    std::string source;
    std::string destination;         ///< empty unless converted
    int error = 0;                   ///< the media converter's code when it failed, else 0
    std::string text;                ///< a sentence for people, without a full stop; empty when all is well
    std::vector<std::string> notes;  ///< what else the media converter had to say, a line each
};

/// One line for people, without line end.
std::string asText(const Outcome& outcome);

/// One JSON object in one line, without line end: `source`, `status` ("converted", "already-mp4", "failed",
/// "still-written"), then
/// `destination`, `error` and `text` where there is one. A path that is not UTF-8 has each stray byte as \udcXX.
std::string asJson(const Outcome& outcome);
