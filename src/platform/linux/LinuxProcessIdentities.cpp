#include "platform/linux/LinuxProcessIdentities.h"

#include <array>
#include <fcntl.h>
#include <sstream>
#include <string_view>
#include <unistd.h>

namespace platform {

namespace {

// PF_EXITING in the kernel's task flags: the process has started to end.
constexpr std::uint64_t exiting = 0x4;

struct Stat {
    char state = 'X';
    std::uint64_t flags = 0;
    std::uint64_t startTime = 0;
};

/// Empty if the file cannot be read. Avoids streams, because a meeting client waits for its acknowledgement meanwhile.
std::string contentOf(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return {};
    }
    std::array<char, 1024> room;
    const auto size = ::read(descriptor, room.data(), room.size());
    ::close(descriptor);
    return size > 0 ? std::string(room.data(), static_cast<std::size_t>(size)) : std::string();
}

/// False if no process has that id.
bool readStat(std::int32_t processId, Stat& stat) {
    const std::string line = contentOf("/proc/" + std::to_string(processId) + "/stat");
    // The command name before the state may contain anything, including closing parentheses and blanks.
    const auto name = line.rfind(") ");
    if (name == std::string::npos) {
        return false;
    }
    std::istringstream fields(line.substr(name + 2));
    std::string skipped;
    // proc(5): the state is the third field, the flags are the ninth, the start time is the 22nd.
    fields >> stat.state >> skipped >> skipped >> skipped >> skipped >> skipped >> stat.flags;
    for (int field = 10; field < 22; ++field) {
        fields >> skipped;
    }
    return static_cast<bool>(fields >> stat.startTime);
}

std::string readBootId() {
    std::string id = contentOf("/proc/sys/kernel/random/boot_id");
    while (!id.empty() && id.back() == '\n') {
        id.pop_back();
    }
    return id;
}

}  // namespace

LinuxProcessIdentities::LinuxProcessIdentities() : bootId_(readBootId()) {}

ProcessIdentity LinuxProcessIdentities::identityOf(std::int32_t processId) const {
    Stat stat;
    const bool exists = processId > 0 && readStat(processId, stat);
    return {processId, exists ? stat.startTime : 0, bootId_};
}

bool LinuxProcessIdentities::isAlive(const ProcessIdentity& identity) const {
    Stat stat;
    return identity.processId > 0 && identity.bootId == bootId_ && readStat(identity.processId, stat) &&
           stat.startTime == identity.startTime && stat.state != 'Z' && stat.state != 'X' &&
           (stat.flags & exiting) == 0;
}

}  // namespace platform
