#pragma once

#include <string>
#include <syslog.h>

namespace mediaconverter {

/// Writes one line to standard error and to the system's logger, with a priority of syslog(3). Control characters are
/// escaped, so that a file name cannot forge a line. Any thread.
void logLine(const std::string& text, int priority = LOG_NOTICE);

/// `bytes` in the form in which logLine writes them.
std::string printable(const std::string& bytes);

}  // namespace mediaconverter
