#pragma once

#include "mediaconverter/job/JobOwner.h"
#include "mediaconverter/job/SourceFile.h"

#include <chrono>
#include <functional>
#include <string>

namespace mediaconverter {

/// Waits for a recording that some process still writes: a helper of a dead client may have data to flush. Costs one
/// system call if nothing writes. Lives on the converting thread.
class WriterWait {
public:
    enum class End {
        closed,  ///< no process writes: the file has its final content
        idle,    ///< still open, but unchanged for as long as the patience lasts
    };

    struct Limits {
        std::chrono::milliseconds patience{30'000};  ///< how long an open file may stay unchanged
        std::chrono::milliseconds longest{600'000};  ///< how long to wait for a growing file, because others wait too
        std::chrono::milliseconds look{250};         ///< between two checks, longer if a check takes long
    };

    /// `note` receives which writer is waited for.
    WriterWait(const JobOwner& owner, std::function<void(const std::string&)> note, Limits limits);

    /// Throws JobFailure: `abandoned`, or `sourceChanged` if the file still grows after the longest wait.
    End wait(const SourceFile& source);

private:
    using Clock = std::chrono::steady_clock;

    void pause(std::chrono::milliseconds time) const;
    bool hasGrown(const SourceFile& source);

    const JobOwner& owner_;
    const std::function<void(const std::string&)> note_;
    const Limits limits_;
    struct stat last_ = {};
};

}  // namespace mediaconverter
