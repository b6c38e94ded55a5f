#pragma once

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/TrackForm.h"
#include "mediaconverter/worker/accounting/Scan.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace worker {

/// What earlier attempts found out about a recording.
struct Foreknowledge {
    std::int64_t lookAhead = 0;         ///< there are streams at this byte that show nowhere before
    bool lateHasSibling = false;        ///< they are not the only ones of their kind
    bool passesStrays = false;          ///< streams that show late are packets under a wrong name
    std::set<int> changingStreams;      ///< their parameters do not stay what they are at first
    std::set<int> unstorableStreams;    ///< copies of them were refused or disproved
    std::map<int, TrackForm> forms;     ///< of re-encoded streams that outgrew what their headers say
    bool formsAreFinal = false;         ///< they outgrew these again; what is larger is made smaller
    bool hasLongPauses = false;         ///< longer than the exact clocks of an MP4 can count
    bool copiesNothing = false;         ///< so many were that no other copy is tried
    std::optional<std::int64_t> start;  ///< earlier than the first packets say; microseconds
    bool startIsFinal = false;          ///< whatever else turns out to be earlier
    std::vector<Patch> patches;         ///< they lead the library past damage
};

/// Thrown when audio or video shows up of which nothing was known when the MP4 was begun.
struct LateStream {
    std::int64_t position;  ///< in bytes
    std::string name;
    bool hasSibling;  ///< there is a track of its kind
};

/// Thrown when a stream that was copied has to be re-encoded.
struct UnstorableStream {
    int index;
    Failure why;
};

/// Thrown when a re-encoded stream does not fit what its encoder was made for.
struct OutgrownForm {};

/// Thrown when the rest of the recording has been looked through after that.
struct LearnedForms {
    std::map<int, TrackForm> forms;  ///< of all re-encoded streams
};

/// Thrown when the library has missed packets that it can be led to.
struct MissedPackets {
    std::vector<Patch> patches;
};

}  // namespace worker
