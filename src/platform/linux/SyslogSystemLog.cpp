#include "platform/linux/SyslogSystemLog.h"

#include <algorithm>
#include <cstdlib>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr const char* programName = "record-converter";

bool leadsIntoJournal(int descriptor) {
    const char* const stream = std::getenv("JOURNAL_STREAM");
    struct stat status = {};
    if (stream == nullptr || fstat(descriptor, &status) != 0) {
        return false;
    }
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

std::string asOneLine(std::string text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    std::replace_if(text.begin(), text.end(), isControl, ' ');
    return text;
}

int priorityOf(Severity severity) {
    switch (severity) {
    case Severity::error:
        return LOG_ERR;
    case Severity::warning:
        return LOG_WARNING;
    case Severity::notice:
        break;
    }
    return LOG_NOTICE;
}

void writeAll(int descriptor, const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const auto count = ::write(descriptor, text.data() + written, text.size() - written);
        if (count < 0) {
            // There is nowhere left to report this.
            return;
        }
        written += static_cast<std::size_t>(count);
    }
}

}  // namespace

SyslogSystemLog::SyslogSystemLog() : standardErrorIsJournal_(leadsIntoJournal(STDERR_FILENO)) {
    openlog(programName, LOG_PID, LOG_USER);
}

SyslogSystemLog::~SyslogSystemLog() {
    closelog();
}

void SyslogSystemLog::writeLine(const std::string& text, Severity severity) {
    const auto line = asOneLine(text);
    const int priority = priorityOf(severity);
    // The journal reads the priority from the start of a line (sd-daemon(3)).
    const auto prefix = standardErrorIsJournal_ ? "<" + std::to_string(priority) + ">" : std::string();
    // One call, so that lines of several threads do not mix.
    writeAll(STDERR_FILENO, prefix + programName + ": " + line + "\n");
    if (!standardErrorIsJournal_) {
        syslog(priority, "%s", line.c_str());
    }
}

}  // namespace platform
