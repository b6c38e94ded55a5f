#pragma once

#include <string>

namespace platform {

/// How much a line matters: what `journalctl -p` selects by.
enum class Severity {
    error,    ///< something that was promised has failed
    warning,  ///< something is wrong, and someone can mend it
    notice,   ///< everything else
};

/// The log for the few lines that an administrator should find without tracing. Any thread.
class SystemLog {
public:
    virtual ~SystemLog() = default;

    /// Writes one line; `text` has no line end.
    void write(const std::string& text, Severity severity = Severity::notice) { writeLine(text, severity); }

    /// The log that the provider installed; standard error by default.
    static SystemLog& standard();

    /// Installs `log`, which must outlive every use; null restores standard error. Call before other threads start.
    static void setStandard(SystemLog* log);

private:
    virtual void writeLine(const std::string& text, Severity severity) = 0;
};

}  // namespace platform
