#include "answerToUser.h"

namespace {

constexpr const char* helpText =
    R"(Usage: record-converter [-pid ID] [-pname NAME] [-locale NUMBER] [-path FILE] [-keepsIntermediateFile NUMBER]
       record-converter --help | --version

Turns finished meeting recordings into MP4 files. Meeting clients start it and announce their recordings over D-Bus.

  -pid ID                        process id of the meeting process
  -pname NAME                    its name; not used
  -locale NUMBER                 language of the texts, 1 to 20
  -path FILE                     full path of the file that the process is writing
  -keepsIntermediateFile NUMBER  keeps the recordings unless the number's lowest eight bits are all zero

To convert a file by hand, use convert-recording. The manual page is record-converter(1).
)";

}  // namespace

std::optional<std::string> answerToUser(const std::vector<std::string>& arguments, const std::string& version) {
    if (arguments.size() != 2) {
        return std::nullopt;
    }
    if (arguments[1] == "--help") {
        return helpText;
    }
    if (arguments[1] == "--version") {
        return "record-converter " + version + "\n";
    }
    return std::nullopt;
}
