#pragma once

#include <QProcessEnvironment>
#include <string>

/// Chinese, Japanese and Korean share letters that each of them writes in its own way. Which way is drawn follows the
/// desktop's language unless the font library is told another.
namespace platform::qt {

/// From here on letters are drawn in the way of `language` (a code such as "zh-Hans"), unless the environment names
/// another already; other languages than those change nothing. Before the application object is made.
void drawLettersOf(const std::string& language);

/// Takes what `drawLettersOf` has put into the environment out of one that another program is to get.
void forgetLettersIn(QProcessEnvironment& environment);

}  // namespace platform::qt
