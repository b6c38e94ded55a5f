#include "mediaconverter/job/WriterWait.h"

#include "mediaconverter/job/FileIdentity.h"
#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/Writers.h"

#include <algorithm>
#include <poll.h>
#include <utility>

namespace mediaconverter {

namespace {

/// The pause after a check is at least this many times as long as the check.
constexpr int restPerLook = 20;

std::string textOfWriters(const SourceFile& source) {
    const auto writers = writersOf(source.status());
    return writers.empty() ? "a process that this user cannot see" : textOf(writers);
}

}  // namespace

WriterWait::WriterWait(const JobOwner& owner, std::function<void(const std::string&)> note, Limits limits)
    : owner_(owner), note_(std::move(note)), limits_(limits) {}

WriterWait::End WriterWait::wait(const SourceFile& source) {
    if (!isOpenForWriting(source.descriptor())) {
        return End::closed;
    }
    note_("the conversion waits until it is no longer written by " + textOfWriters(source));
    last_ = source.status();
    const auto start = Clock::now();
    auto lastGrowth = start;
    auto looked = start;
    while (isOpenForWriting(source.descriptor())) {
        const auto now = Clock::now();
        lastGrowth = hasGrown(source) ? now : lastGrowth;
        if (now - lastGrowth >= limits_.patience) {
            note_("still open for writing by " + textOfWriters(source) +
                  ", but unchanged for a while: it is converted as it is");
            return End::idle;
        }
        if (now - start >= limits_.longest) {
            throw JobFailure(ConversionError::sourceChanged,
                             "after the longest wait it is still written by " + textOfWriters(source));
        }
        // If all processes must be searched, a check takes time; it must stay a small part of the whole.
        pause(std::max(limits_.look, restPerLook * std::chrono::ceil<std::chrono::milliseconds>(now - looked)));
        looked = Clock::now();
    }
    return End::closed;
}

void WriterWait::pause(std::chrono::milliseconds time) const {
    pollfd abandon = {owner_.abandonDescriptor(), POLLIN, 0};
    static_cast<void>(::poll(&abandon, 1, static_cast<int>(time.count())));
    if (owner_.isAbandoned()) {
        throw JobFailure(ConversionError::abandoned);
    }
}

bool WriterWait::hasGrown(const SourceFile& source) {
    struct stat now = {};
    if (::fstat(source.descriptor(), &now) != 0) {
        return false;
    }
    return !isSameContent(std::exchange(last_, now), now);
}

}  // namespace mediaconverter
