#include "platform/qt/SessionBus.h"

#include <cstdlib>
#include <string>
#include <sys/stat.h>

namespace platform::qt {

namespace {

constexpr const char* kAddressVariable = "DBUS_SESSION_BUS_ADDRESS";
constexpr const char* kFatalVariable = "DBUS_FATAL_WARNINGS";

// A transport that no bus library has: asking for the bus fails at once.
constexpr const char* kNoSessionBusAddress = "none:";

bool isFatalOurs = false;

const char* valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

}  // namespace

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

void outliveLostBus() {
    // Where a service is to be watched just when its bus has gone, Qt waits for the answer to a question that could not
    // be sent. The bus library takes that for a mistake in the program and ends it, a recording or not, unless told
    // here that what it finds is only to be said. Whoever has set this to hunt for mistakes is heeded.
    if (std::getenv(kFatalVariable) == nullptr) {
        isFatalOurs = setenv(kFatalVariable, "0", 1) == 0;
    }
}

void forgetBusSettingsIn(QProcessEnvironment& environment) {
    const auto address = QString::fromLatin1(kAddressVariable);
    if (environment.value(address) == QLatin1String(kNoSessionBusAddress)) {
        environment.remove(address);
    }
    if (isFatalOurs) {
        environment.remove(QString::fromLatin1(kFatalVariable));
    }
}

}  // namespace platform::qt
