#pragma once

#include <string>

namespace platform {

/// The log for the few lines that an administrator should find without tracing. Any thread.
class SystemLog {
public:
    virtual ~SystemLog() = default;

    /// Writes one line; `text` has no line end.
    virtual void write(const std::string& text) = 0;

    /// The log that the provider installed; standard error by default.
    static SystemLog& standard();

    /// Installs `log`, which must outlive every use; null restores standard error. Call before other threads start.
    static void setStandard(SystemLog* log);
};

}  // namespace platform
