#pragma once

#include <string>

namespace mediaconverter {

/// Writes one line to standard error and to the system's logger. Control characters are escaped, so that a file name
/// cannot forge a line. Any thread.
void logLine(const std::string& text);

/// `bytes` in the form in which logLine writes them.
std::string printable(const std::string& bytes);

}  // namespace mediaconverter
