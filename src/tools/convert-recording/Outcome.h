#pragma once

#include <string>
#include <vector>

/// The result for one leftover recording. Value.
struct Outcome {
    enum class Kind { converted, alreadyMp4, failed, stillWritten };

    Kind kind = Kind::failed;
    std::string source;
    std::string destination;         ///< empty unless converted
    int error = 0;                   ///< the media converter's code if it failed, else 0
    std::string text;                ///< a sentence for people, without a full stop; empty if all is well
    std::vector<std::string> notes;  ///< other messages of the media converter, one per line
};

/// One line for people, without line end.
std::string asText(const Outcome& outcome);

/// One JSON object in one line, without line end: `source`, `status` ("converted", "already-mp4", "failed",
/// "still-written"), then `destination`, `error` and `text` if present. In a path that is not UTF-8, each invalid byte
/// becomes \udcXX.
std::string asJson(const Outcome& outcome);
