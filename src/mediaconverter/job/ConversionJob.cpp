#include "mediaconverter/job/ConversionJob.h"

#include "mediaconverter/job/DamagedSource.h"
#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/JobLog.h"
#include "mediaconverter/job/Mp4Structure.h"
#include "mediaconverter/job/WorkerSupervision.h"
#include "mediaconverter/job/WriterWait.h"

namespace mediaconverter {

namespace {

using enum ConversionError;

// For a relative path without a folder, the MP4 would be created in the root folder.
void requireFullPath(const std::string& source, const std::string& destination) {
    if (!source.starts_with('/') && destination.starts_with('/')) {
        throw JobFailure(sourceNotAbsolute);
    }
}

}  // namespace

ConversionJob::ConversionJob(JobOwner& owner, std::string source, std::string destination)
    : owner_(owner), sourcePath_(std::move(source)), destinationPath_(std::move(destination)) {}

void ConversionJob::run() {
    const auto noteIt = [this](const std::string& text) { note(text); };
    requireFullPath(sourcePath_, destinationPath_);
    SourceFile& source = source_.emplace(sourcePath_);
    const bool mayGrow = WriterWait(owner_, noteIt, {}).wait(source) == WriterWait::End::idle;
    source.readState();
    OutputFile output(destinationPath_, source);
    if (!output.limitation().empty()) {
        note(output.limitation());
    }
    owner_.jobProgress(0);
    damage_ = WorkerSupervision(owner_, noteIt).run(source, output);
    requireWholeMp4(output.descriptor());
    source.requireUnchanged();
    requireNotAbandoned();
    output.sync(source.status());
    owner_.jobProgress(99);
    source.requireUnchanged();
    requireNotAbandoned();
    if (!damage_ && !mayGrow) {
        output.publish();
        return;
    }
    DamagedSource kept(source);
    note((damage_ ? "parts of the recording could not be read (" + *damage_ + ")" : "it may be written to later") +
             "; its data stays as " + printable(kept.path()),
         LOG_WARNING);
    output.publish();
    kept.keep();
}

void ConversionJob::requireNotAbandoned() const {
    if (owner_.isAbandoned()) {
        throw JobFailure(abandoned);
    }
}

void ConversionJob::note(const std::string& text, int priority) const {
    logLine(sourcePath_ + ": " + text, priority);
}

}  // namespace mediaconverter
