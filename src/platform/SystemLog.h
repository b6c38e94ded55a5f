#pragma once

#include <string>

namespace platform {

/// Where the few lines go that an administrator should find without any tracing. Any thread.
class SystemLog {
public:
    virtual ~SystemLog() = default;

    /// Writes one line; `text` has no line end.
    virtual void write(const std::string& text) = 0;

    /// The log that the provider installed; standard error until then.
    static SystemLog& standard();

    /// Installs `log`, which must outlive every use; null gives standard error back. Before other threads start.
    static void setStandard(SystemLog* log);
};

}  // namespace platform
