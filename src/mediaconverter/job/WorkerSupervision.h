#pragma once

#include "mediaconverter/job/JobOwner.h"
#include "mediaconverter/job/OutputFile.h"
#include "mediaconverter/job/SourceFile.h"
#include "mediaconverter/job/WorkerProcess.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace mediaconverter {

/// Runs one worker without trusting it: it may crash, stop in the middle of a message, flood the log, or never end.
/// Every wait here is bounded, and abandoning the job ends it at once. Lives on the converting thread.
class WorkerSupervision {
public:
    /// `note` receives the worker's notes, at most a bounded number of them.
    WorkerSupervision(JobOwner& owner, std::function<void(const std::string&)> note);

    /// Returns when the worker has reported that it is done and has ended normally; the result says which parts of the
    /// source it could not read. Throws JobFailure; the worker is dead then as well.
    std::optional<std::string> run(const SourceFile& source, const OutputFile& output);

private:
    using Clock = std::chrono::steady_clock;

    void waitForNews(const WorkerProcess& worker) const;
    void handleMessages(WorkerProcess& worker);
    void handle(const WorkerMessage& message);
    void handleProgress(float fraction);
    void handleNote(const std::string& text);
    void requireSigns(const WorkerProcess& worker);
    void requireCleanEnd(const WorkerProcess& worker, const WorkerEnd& end) const;

    JobOwner& owner_;
    const std::function<void(const std::string&)> note_;
    std::optional<std::string> damage_;
    bool done_ = false;
    bool hasClosedReports_ = false;
    float furthest_ = 0;
    int messages_ = 0;
    int notes_ = 0;
    Clock::time_point lastSign_ = Clock::now();
    std::optional<std::uint64_t> lastProcessorTime_;
};

}  // namespace mediaconverter
