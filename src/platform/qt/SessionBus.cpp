#include "platform/qt/SessionBus.h"

#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace platform::qt {

namespace {

constexpr const char* kAddressVariable = "DBUS_SESSION_BUS_ADDRESS";

const char* valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

}  // namespace

// A transport that no bus library has: asking for the bus fails at once.
const char* const kNoSessionBusAddress = "none:";

bool hasSessionBusAddress() {
    const std::string address = valueOf(kAddressVariable);
    if (!address.empty()) {
        return address != kNoSessionBusAddress && address.rfind("autolaunch:", 0) != 0;
    }
    const std::string folder = valueOf("XDG_RUNTIME_DIR");
    struct stat status = {};
    return !folder.empty() && stat((folder + "/bus").c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

void forbidStartingSessionBus() {
    setenv(kAddressVariable, kNoSessionBusAddress, 1);
}

}  // namespace platform::qt
