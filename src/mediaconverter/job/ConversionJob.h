#pragma once

#include "mediaconverter/job/JobOwner.h"
#include "mediaconverter/job/OutputFile.h"
#include "mediaconverter/job/SourceFile.h"

#include <optional>
#include <string>
#include <syslog.h>
#include <utility>

namespace mediaconverter {

/// One conversion of a recording to an MP4: opens both ends, lets a worker handle the recording's content, and
/// publishes the result. Lives on the converting thread.
class ConversionJob {
public:
    ConversionJob(JobOwner& owner, std::string source, std::string destination);

    /// Does the whole job. When it returns, the MP4 is synced under its name; when it throws JobFailure, no trace of it
    /// remains.
    void run();

    /// The recording that run() has converted. Call once, after run() has returned.
    SourceFile releaseSource() noexcept { return std::move(*source_); }

private:
    void requireNotAbandoned() const;
    void note(const std::string& text, int priority = LOG_NOTICE) const;

    JobOwner& owner_;
    const std::string sourcePath_;
    const std::string destinationPath_;
    std::optional<SourceFile> source_;
    std::optional<std::string> damage_;
};

}  // namespace mediaconverter
