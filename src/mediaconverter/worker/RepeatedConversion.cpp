#include "mediaconverter/worker/Conversion.h"
#include "mediaconverter/worker/Failure.h"
#include "mediaconverter/worker/sharing/NotShareable.h"

#include <utility>

namespace worker {

namespace {

using enum ConversionError;

/// How often new streams may appear; each time the conversion restarts.
constexpr int mostLateStreams = 5;

/// How many streams may turn out not to be storable, each of which costs an attempt, before all are re-encoded.
constexpr std::size_t mostUnstorableStreams = 4;

/// How often a packet may turn out to be shown before all earlier ones.
constexpr int mostEarlierStarts = 5;

/// How often streams may turn out to be larger than known so far.
constexpr int mostGrowths = 3;

/// Learns from the failures of the attempts. Each kind of lesson is bounded, so the attempts end.
class Lessons {
public:
    explicit Lessons(Foreknowledge known) : known_(std::move(known)) {}

    const Foreknowledge& known() const { return known_; }

    void learn(const ChangedStream& changed) {
        if (!known_.changingStreams.insert(changed.index).second) {
            learn(UnstorableStream{changed.index, Failure(codecUnknown, "its form changes in mid-stream")});
        }
    }

    void learn(const UnstorableStream& refused) {
        if (!known_.unstorableStreams.insert(refused.index).second) {
            throw refused.why;
        }
        known_.copiesNothing = known_.unstorableStreams.size() >= mostUnstorableStreams;
    }

    void learn(const NotShareable&) { known_.copiesPackets = true; }

    void learn(const LongPause&) { known_.hasLongPauses = true; }

    void learn(const EarlierStart& earlier) {
        known_.start = earlier.time;
        known_.startIsFinal = ++earlierStarts_ == mostEarlierStarts;
    }

    void learn(const LearnedForms& learned) {
        for (const auto& [index, form] : learned.forms) {
            known_.forms[index].widen(form);
        }
        known_.formsAreFinal = ++growths_ == mostGrowths;
    }

    void learn(const LateStream& late) {
        if (++lateStreams_ == mostLateStreams) {
            throw Failure(limitExceeded, late.name + " appears at byte " + std::to_string(late.position));
        }
        if (late.position > known_.lookAhead) {
            known_.lookAhead = late.position;
            known_.lateHasSibling = late.hasSibling;
        } else if (known_.lateHasSibling) {
            // It could not be identified although it was examined.
            known_.lookAhead = 0;
            known_.passesStrays = true;
        } else {
            throw Failure(codecUnknown, late.name);
        }
    }

    /// Happens once: packets that an attempt with patches misses cannot be reached by patches.
    void learn(const MissedPackets& missed) { known_.patches = missed.patches; }

private:
    Foreknowledge known_;
    int lateStreams_ = 0;
    int growths_ = 0;
    int earlierStarts_ = 0;
};

}  // namespace

void convertRecording(int source, int output, Reporter& reporter, const Foreknowledge& known) {
    Lessons lessons(known);
    while (true) {
        try {
            Conversion(source, output, reporter, lessons.known()).run();
            return;
        } catch (const ChangedStream& lesson) {
            lessons.learn(lesson);
        } catch (const UnstorableStream& lesson) {
            lessons.learn(lesson);
        } catch (const NotShareable& lesson) {
            reporter.note("its packets are copied one by one: " + lesson.why);
            lessons.learn(lesson);
        } catch (const LongPause& lesson) {
            lessons.learn(lesson);
        } catch (const EarlierStart& lesson) {
            lessons.learn(lesson);
        } catch (const LearnedForms& lesson) {
            lessons.learn(lesson);
        } catch (const LateStream& lesson) {
            lessons.learn(lesson);
        } catch (const MissedPackets& lesson) {
            lessons.learn(lesson);
        }
    }
}

}  // namespace worker
