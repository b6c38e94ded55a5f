#include "platform/qt/SessionBus.h"

#include <cstdlib>
#include <string>
#include <sys/stat.h>

namespace platform::qt {

namespace {

constexpr const char* addressVariable = "DBUS_SESSION_BUS_ADDRESS";
constexpr const char* fatalVariable = "DBUS_FATAL_WARNINGS";

// No bus library knows this transport: connecting to the bus fails at once.
constexpr const char* noSessionBusAddress = "none:";

bool isFatalOurs = false;

const char* valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

}  // namespace

bool hasSessionBusAddress() {
    const std::string address = valueOf(addressVariable);
    if (!address.empty()) {
        return address != noSessionBusAddress && address.rfind("autolaunch:", 0) != 0;
    }
    const std::string folder = valueOf("XDG_RUNTIME_DIR");
    struct stat status = {};
    return !folder.empty() && stat((folder + "/bus").c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

void forbidStartingSessionBus() {
    setenv(addressVariable, noSessionBusAddress, 1);
}

void outliveLostBus() {
    // If a service is to be watched just when its bus has been lost, Qt waits for the reply to a call that could not be
    // sent. The bus library treats that as a programming error and ends the process, recording or not, unless it is
    // told here to only print such errors. A value already in the environment wins.
    if (std::getenv(fatalVariable) == nullptr) {
        isFatalOurs = setenv(fatalVariable, "0", 1) == 0;
    }
}

void forgetBusSettingsIn(QProcessEnvironment& environment) {
    const auto address = QString::fromLatin1(addressVariable);
    if (environment.value(address) == QLatin1String(noSessionBusAddress)) {
        environment.remove(address);
    }
    if (isFatalOurs) {
        environment.remove(QString::fromLatin1(fatalVariable));
    }
}

}  // namespace platform::qt
