#pragma once

#include <optional>
#include <string>

/// Reports the progress of conversions to the user. Main thread.
class KTRConverterReportProtocol {
public:
    virtual ~KTRConverterReportProtocol() = default;

    /// A conversion has started.
    virtual void reportProcessStart() = 0;

    /// A conversion has ended: a non-empty path is the saved MP4; an absent or empty one means that it failed.
    virtual void reportProcessDoneWithFilePath(const std::optional<std::string>& path) = 0;

    /// True if no result is left for the user to see.
    virtual bool isAllReportJobsHandled() = 0;
};
