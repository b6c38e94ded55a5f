#pragma once

#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/accounting/Scan.h"
#include "mediaconverter/worker/tracks/TrackForm.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace worker {

/// What earlier attempts have found out about a recording.
struct Foreknowledge {
    std::int64_t lookAhead = 0;         ///< byte at which streams exist that do not appear earlier
    bool lateHasSibling = false;        ///< there is another stream of their kind
    bool passesStrays = false;          ///< streams that appear late are packets under a wrong id
    std::set<int> changingStreams;      ///< their parameters change in mid-stream
    std::set<int> unstorableStreams;    ///< copies of them were refused or failed verification
    std::map<int, TrackForm> forms;     ///< of re-encoded streams that exceed what their headers say
    bool formsAreFinal = false;         ///< the streams exceeded these again; larger frames are scaled down
    bool hasLongPauses = false;         ///< longer than the exact clocks of an MP4 can count
    bool copiesNothing = false;         ///< there were so many of these that nothing is copied any more
    bool copiesPackets = false;         ///< their payload cannot stay where it is
    std::optional<std::int64_t> start;  ///< earlier than the first packets suggest; microseconds
    bool startIsFinal = false;          ///< even if something turns out to be earlier
    std::vector<Patch> patches;         ///< they lead the library past damage
};

/// Thrown when audio or video appears that was unknown when the MP4 was started.
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

/// Thrown when a re-encoded stream does not fit the form its encoder was created for.
struct OutgrownForm {};

/// Thrown when the rest of the recording has been examined after that.
struct LearnedForms {
    std::map<int, TrackForm> forms;  ///< of all re-encoded streams
};

/// Thrown when the library has missed packets to which it can be led.
struct MissedPackets {
    std::vector<Patch> patches;
};

}  // namespace worker
