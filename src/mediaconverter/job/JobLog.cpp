#include "mediaconverter/job/JobLog.h"

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace mediaconverter {

namespace {

/// Whether what a service writes to its standard error reaches the journal, as systemd tells it (systemd.exec(5)).
bool isStandardErrorTheJournal() {
    const char* const stream = std::getenv("JOURNAL_STREAM");
    unsigned long long device = 0;
    unsigned long long inode = 0;
    struct stat error = {};
    return stream != nullptr && std::sscanf(stream, "%llu:%llu", &device, &inode) == 2 &&
           ::fstat(STDERR_FILENO, &error) == 0 && error.st_dev == device && error.st_ino == inode;
}

}  // namespace

std::string printable(const std::string& bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) {
            char escaped[8];
            static_cast<void>(std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(byte)));
            out += escaped;
        } else {
            out += c;
        }
    }
    return out;
}

void logLine(const std::string& text, int priority) {
    const bool isJournal = isStandardErrorTheJournal();
    // The journal reads the priority from the start of a line (sd-daemon(3)).
    const std::string prefix = isJournal ? "<" + std::to_string(priority) + ">" : "";
    const std::string line = prefix + "mediaconverter: " + printable(text) + "\n";
    // One write, so that lines of several threads do not mix; a failure cannot be reported anywhere.
    static_cast<void>(!::write(STDERR_FILENO, line.data(), line.size()));
    if (!isJournal) {
        ::syslog(LOG_USER | priority, "mediaconverter: %s", printable(text).c_str());
    }
}

}  // namespace mediaconverter
