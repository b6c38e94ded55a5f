#pragma once

#include "mediaconverter/job/JobOwner.h"
#include "mediaconverter/job/SourceFile.h"

#include <chrono>
#include <functional>
#include <string>

namespace mediaconverter {

/// Waits for a recording that some process still writes: a helper of a client that has died may have data to flush.
/// Costs one system call where nobody writes. Lives on the converting thread.
class WriterWait {
public:
    enum class End {
        closed,  ///< nobody writes: the file is what it will be
        idle,    ///< still open, but nothing has come for as long as patience lasts
    };

    struct Limits {
        std::chrono::milliseconds patience{30'000};  ///< how long a file that is open may stay as it is
        std::chrono::milliseconds longest{600'000};  ///< how long a file that grows is waited for, as others wait too
        std::chrono::milliseconds look{250};         ///< between two looks, longer where looking takes time
    };

    /// `note` is given what is waited for.
    WriterWait(const JobOwner& owner, std::function<void(const std::string&)> note, Limits limits);

    /// Throws JobFailure: `abandoned`, or `sourceChanged` where the file still grows after the longest wait.
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
