#pragma once

#include <string>

namespace mediaconverter {

/// Writes one line to standard error and to the system's logger. Control characters are escaped, so that a file name
/// can't forge a line. Any thread.
void logLine(const std::string& text);

/// `bytes` as logLine would write them.
std::string printable(const std::string& bytes);

}  // namespace mediaconverter
