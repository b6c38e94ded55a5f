#pragma once

#include "platform/SystemLog.h"

namespace platform {

/// The system log of a Linux desktop: standard error and, if one runs, the system's logger. Each text becomes one line
/// in each, whatever it contains: control characters become blanks. Both get the severity. Any thread.
class SyslogSystemLog final : public SystemLog {
public:
    SyslogSystemLog();
    ~SyslogSystemLog() override;

    SyslogSystemLog(const SyslogSystemLog&) = delete;
    SyslogSystemLog& operator=(const SyslogSystemLog&) = delete;

private:
    void writeLine(const std::string& text, Severity severity) override;

    // Standard error may already lead to the system's journal, where a second copy would be noise.
    const bool standardErrorIsJournal_;
};

}  // namespace platform
