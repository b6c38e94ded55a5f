#pragma once

#include <optional>
#include <string>

/// Tells the user how conversions go. Main thread.
class KTRConverterReportProtocol {
public:
    virtual ~KTRConverterReportProtocol() = default;

    /// A conversion has started.
    virtual void reportProcessStart() = 0;

    /// A conversion has ended: a path that is not empty is the saved MP4, an absent or empty one means it failed.
    virtual void reportProcessDoneWithFilePath(const std::optional<std::string>& path) = 0;

    /// True when the user has no result left to see.
    virtual bool isAllReportJobsHandled() = 0;
};
