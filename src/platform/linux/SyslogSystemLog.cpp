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

void SyslogSystemLog::write(const std::string& text) {
    const auto line = asOneLine(text);
    // One call, so that lines of several threads do not mix.
    writeAll(STDERR_FILENO, std::string(programName) + ": " + line + "\n");
    if (!standardErrorIsJournal_) {
        syslog(LOG_NOTICE, "%s", line.c_str());
    }
}

}  // namespace platform
