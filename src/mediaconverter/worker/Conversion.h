#pragma once

#include "mediaconverter/worker/Foreknowledge.h"
#include "mediaconverter/worker/Reporter.h"
#include "mediaconverter/worker/reading/Beginning.h"
#include "mediaconverter/worker/reading/Recording.h"
#include "mediaconverter/worker/sharing/SharedLane.h"
#include "mediaconverter/worker/times/Timeline.h"
#include "mediaconverter/worker/tracks/TrackChoice.h"
#include "mediaconverter/worker/tracks/TranscodedTrack.h"
#include "mediaconverter/worker/writing/Mp4Writer.h"

#include <memory>
#include <vector>

namespace worker {

/// The whole work of one worker: turns a recording into a verified MP4. If an attempt shows that a stream needs another
/// treatment, starts again with that knowledge. `known` is what is known beforehand. Throws Failure.
void convertRecording(int source, int output, Reporter& reporter, const Foreknowledge& known = {});

/// One attempt.
class Conversion {
public:
    /// `known` must outlive it.
    Conversion(int source, int output, Reporter& reporter, const Foreknowledge& known);

    /// Throws LateStream, ChangedStream, EarlierStart, LongPause, UnstorableStream, LearnedForms, MissedPackets or
    /// NotShareable if the conversion has to restart with more knowledge.
    void run();

private:
    std::unique_ptr<SharedLane> tryToShare(int source);
    std::unique_ptr<MuxerFile> makeFile();
    void makeMp4();
    [[noreturn]] void learnFrom(const TrackFailure& failure);
    void addTracks();
    void addTrack(const AVStream& stream, bool copies);
    void addCopy(const AVStream& stream, AVStream& target);
    bool read(AVPacket& packet) { return shared_ ? shared_->read(packet) : beginning_.read(packet); }
    double fractionRead() const { return shared_ ? shared_->fractionRead() : recording_.fractionRead(); }
    void convert();
    void passToTrack(AVPacket& packet);
    [[noreturn]] void surveyRest();
    void requireNoEarlierStart(const Track& track) const;
    bool hasTrackOf(AVMediaType type) const;
    void settleAccount();
    void reportDamage();
    void requireContent();
    void prove(int output);

    int output_;
    Reporter& reporter_;
    const Foreknowledge& known_;
    Recording recording_;
    TrackChoice choice_;
    Beginning beginning_;
    std::unique_ptr<SharedLane> shared_;  ///< null if the packets are copied one by one
    Mp4Writer writer_;
    Timeline timeline_;
    std::vector<std::unique_ptr<Track>> tracks_;
    std::vector<Track*> trackOfStream_;
    bool onlyCopies_ = true;
};

}  // namespace worker
