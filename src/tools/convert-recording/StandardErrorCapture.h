#pragma once

#include <string>
#include <vector>

/// Collects what this process writes to standard error, so that it can be printed once and in order. If the system
/// cannot do that, the text is written as usual. One at a time.
class StandardErrorCapture {
public:
    StandardErrorCapture();

    /// Writes the collected text that nobody has fetched.
    ~StandardErrorCapture();

    StandardErrorCapture(const StandardErrorCapture&) = delete;
    StandardErrorCapture& operator=(const StandardErrorCapture&) = delete;

    /// Ends the capture; returns the lines without their ends.
    std::vector<std::string> lines();

private:
    int original_ = -1;
    int kept_ = -1;
};
