#include "platform/linux/LinuxRunningApplications.h"

#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

namespace platform {

bool LinuxRunningApplications::isRunning(std::int32_t processId) const {
    if (processId <= 0) {
        return false;
    }
    const std::string folder = "/proc/" + std::to_string(processId);
    std::string line;
    std::getline(std::ifstream(folder + "/stat"), line);
    // The command name before the state may contain anything, including closing parentheses and blanks.
    const auto name = line.rfind(") ");
    if (name == std::string::npos || name + 2 >= line.size()) {
        return false;
    }
    const char state = line[name + 2];
    const bool hasEnded = state == 'Z' || state == 'X';
    // Does not use the folder's owner: the folder of a process that may not be inspected belongs to root.
    std::ifstream status(folder + "/status");
    while (std::getline(status, line)) {
        if (line.starts_with("Uid:")) {
            std::istringstream ids(line.substr(4));
            ::uid_t realUser = 0;
            return ids >> realUser && !hasEnded && realUser == ::getuid();
        }
    }
    return false;
}

}  // namespace platform
