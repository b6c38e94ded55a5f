#pragma once

#include <QProcessEnvironment>
#include <string>

/// Chinese, Japanese and Korean share letters that each of them writes in its own way. The desktop's language decides
/// which form is drawn, unless the font library is configured otherwise.
namespace platform::qt {

/// From here on shared letters are drawn in the form of `language` (a code such as "zh-Hans"), unless the environment
/// already names one. Languages other than Chinese, Japanese and Korean change nothing. Call before the application
/// object is created.
void drawLettersOf(const std::string& language);

/// Removes the variable that `drawLettersOf` has set from the environment of another program.
void forgetLettersIn(QProcessEnvironment& environment);

}  // namespace platform::qt
