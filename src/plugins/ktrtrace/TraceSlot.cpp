#include "plugins/ktrtrace/TraceSlot.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace ktrtrace {

namespace {

constexpr int places = 4;
constexpr mode_t ownFolder = 0700;
constexpr mode_t ownFile = 0600;

bool makeFolder(const std::string& folder) {
    std::error_code error;
    // The parent folders are not ours alone; missing ones are created with the user's umask.
    std::filesystem::create_directories(std::filesystem::path(folder).parent_path(), error);
    if (::mkdir(folder.c_str(), ownFolder) != 0 && errno != EEXIST) {
        return false;
    }
    return ::chmod(folder.c_str(), ownFolder) == 0;
}

std::string valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? std::string() : value;
}

}  // namespace

std::unique_ptr<TraceSlot> TraceSlot::taken(const std::string& folder, std::string& trouble) {
    if (folder.empty() || !makeFolder(folder)) {
        trouble = folder.empty() ? "the home folder is unknown" : std::system_category().message(errno);
        return nullptr;
    }
    for (int place = 1; place <= places; ++place) {
        const std::string name = place == 1 ? "trace" : "trace-" + std::to_string(place);
        const auto lockFile = std::filesystem::path(folder) / ("." + name + ".lock");
        const int lock = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownFile);
        if (lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) == 0) {
            return std::unique_ptr<TraceSlot>(new TraceSlot(std::filesystem::path(folder) / (name + ".log"), lock));
        }
        const int number = errno;
        if (lock >= 0) {
            ::close(lock);
        }
        trouble = number == EWOULDBLOCK ? "too many processes trace already" : std::system_category().message(number);
        if (number != EWOULDBLOCK) {
            break;
        }
    }
    return nullptr;
}

TraceSlot::~TraceSlot() {
    ::close(lock_);
}

int openForAdding(const std::string& file) {
    return ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, ownFile);
}

std::string traceFolder() {
    std::string state = valueOf("XDG_STATE_HOME");
    if (state.empty() || state.front() != '/') {
        const std::string home = valueOf("HOME");
        if (home.empty() || home.front() != '/') {
            return {};
        }
        state = home + "/.local/state";
    }
    return state + "/record-converter";
}

}  // namespace ktrtrace
