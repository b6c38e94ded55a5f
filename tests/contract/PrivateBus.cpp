#include "contract/PrivateBus.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

constexpr const char* configurationText =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

std::string writeConfiguration() {
    std::string file = std::filesystem::temp_directory_path() / "contract-bus-XXXXXX";
    const int descriptor = mkstemp(file.data());
    if (descriptor < 0) {
        throw std::runtime_error("no temporary file");
    }
    close(descriptor);
    std::ofstream(file) << configurationText;
    return file;
}

std::string readLine(int descriptor) {
    std::string line;
    char c = 0;
    while (read(descriptor, &c, 1) == 1 && c != '\n') {
        line += c;
    }
    return line;
}

/// `unix:path=PATH,guid=...`
std::string socketOf(const std::string& address) {
    const auto begin = address.find('=') + 1;
    return address.substr(begin, address.find(',') - begin);
}

}  // namespace

PrivateBus::PrivateBus() {
    const auto configuration = writeConfiguration();
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    daemon_ = fork();
    if (daemon_ == 0) {
        // If this object is never destroyed, the bus removes its socket.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        dup2(ends[1], STDOUT_FILENO);
        execlp("dbus-daemon", "dbus-daemon", ("--config-file=" + configuration).c_str(), "--nofork", "--nopidfile",
               "--print-address=1", nullptr);
        _exit(127);
    }
    close(ends[1]);
    const auto address = readLine(ends[0]);
    close(ends[0]);
    std::filesystem::remove(configuration);
    if (address.empty()) {
        throw std::runtime_error("dbus-daemon did not start");
    }
    socket_ = socketOf(address);
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
}

PrivateBus::~PrivateBus() {
    stop();
}

void PrivateBus::stop() {
    if (daemon_ > 0) {
        kill(daemon_, SIGKILL);
        waitpid(daemon_, nullptr, 0);
        daemon_ = -1;
        std::filesystem::remove(socket_);
    }
}

}  // namespace test
