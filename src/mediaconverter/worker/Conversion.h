#pragma once

#include "mediaconverter/worker/Mp4Writer.h"
#include "mediaconverter/worker/Recording.h"
#include "mediaconverter/worker/Reporter.h"
#include "mediaconverter/worker/Timeline.h"
#include "mediaconverter/worker/Track.h"

#include <memory>
#include <set>
#include <vector>

namespace worker {

/// The whole work of one worker: a recording in, a proved MP4 out. Throws Failure.
void convertRecording(int source, int output, Reporter& reporter);

/// Thrown when sound or picture shows up of which nothing was known when the MP4 was begun.
struct LateStream {
    std::int64_t position;  ///< in bytes
    std::string name;
    bool hasSibling;  ///< there is a track of its kind
};

/// What an earlier attempt found out about a recording.
struct Foreknowledge {
    std::int64_t lookAhead = 0;     ///< there are streams at this byte that show nowhere before
    bool lateHasSibling = false;    ///< they are not the only ones of their kind
    bool passesStrays = false;      ///< streams that show late are packets under a wrong name
    std::set<int> changingStreams;  ///< their parameters do not stay what they are at first
};

/// One attempt at it.
class Conversion {
public:
    /// `known` must outlive it.
    Conversion(int source, int output, Reporter& reporter, const Foreknowledge& known);

    /// Throws LateStream or ChangedStream when it has to be begun anew, knowing more.
    void run();

private:
    std::int64_t estimateIndex() const;
    void requireSpace(int output) const;
    void addTracks();
    void addTrack(const AVStream& stream, bool copies);
    void addCopy(const AVStream& stream, AVStream& target);
    void copyMetadata();
    void copyChapters();
    void convert();
    void take(AVPacket& packet);
    bool hasTrackOf(AVMediaType type) const;
    void reportDamage();
    void requireContent();
    void prove(int output);

    int output_;
    Reporter& reporter_;
    const Foreknowledge& known_;
    Recording recording_;
    Mp4Writer writer_;
    Timeline timeline_;
    std::vector<std::unique_ptr<Track>> tracks_;
    std::vector<Track*> trackOfStream_;
    bool onlyCopies_ = true;
};

}  // namespace worker
