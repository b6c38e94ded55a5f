#include "platform/ProcessInformation.h"

#include <unistd.h>

namespace platform {

MainProcessInformation::MainProcessInformation(int argc, char* argv[]) : arguments_(argv, argv + argc) {}

std::int32_t MainProcessInformation::processIdentifier() const {
    return ::getpid();
}

std::vector<std::string> MainProcessInformation::arguments() const {
    return arguments_;
}

}  // namespace platform
