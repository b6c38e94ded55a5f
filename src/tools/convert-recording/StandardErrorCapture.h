#pragma once

#include <string>
#include <vector>

/// Keeps what this process writes to standard error, so that it can be said once and in order. Where the system can't,
/// it is written as ever. One at a time.
class StandardErrorCapture {
public:
    StandardErrorCapture();

    /// What was kept and not asked for is written now.
    ~StandardErrorCapture();

    StandardErrorCapture(const StandardErrorCapture&) = delete;
    StandardErrorCapture& operator=(const StandardErrorCapture&) = delete;

    /// Ends the keeping; the lines, without their ends.
    std::vector<std::string> lines();

private:
    int original_ = -1;
    int kept_ = -1;
};
