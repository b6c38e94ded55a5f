// Preloaded into the converter: adds a line to the file POWER_SYNCS when a sync starts and when it has ended. Skips the
// sync that POWER_SKIP names, so that the judge of power cuts can show that it notices.

#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

/// A folder of recordings is synced for the MP4's name, and before that for the second name of a damaged source. If
/// POWER_MP4 names the only MP4 to come, this tells the two apart.
bool isForSecondName(const std::string& folder) {
    const std::string mp4 = valueOf("POWER_MP4");
    return !mp4.empty() && ::access((folder + "/" + mp4).c_str(), F_OK) != 0;
}

std::string nameOfFolderSync(const std::string& path) {
    if (path.ends_with("/pending")) {
        return "pending-folder";
    }
    if (path.ends_with("/state") || path.ends_with("/record-converter")) {
        return "above-pending";
    }
    if (!path.ends_with("/recordings")) {
        return "";
    }
    return isForSecondName(path) ? "second-name" : "mp4-name";
}

std::string nameOfSync(int descriptor) {
    std::string path(PATH_MAX, '\0');
    struct stat status = {};
    const ssize_t length =
        ::readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path.data(), path.size());
    if (length < 0 || ::fstat(descriptor, &status) != 0) {
        return "";
    }
    path.resize(static_cast<std::size_t>(length));
    if (S_ISDIR(status.st_mode)) {
        return nameOfFolderSync(path);
    }
    if (path.find("/pending/") != std::string::npos) {
        return "entry";
    }
    return path.find("/recordings/") != std::string::npos ? "mp4" : "";
}

void note(const std::string& what, const std::string& name) {
    const std::string line = what + " " + std::to_string(::getpid()) + " " + name + "\n";
    const int file = ::open(valueOf("POWER_SYNCS").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    static_cast<void>(::write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size()));
    ::close(file);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int fsync(int descriptor) {
    using Sync = int (*)(int);
    static const auto real = reinterpret_cast<Sync>(::dlsym(RTLD_NEXT, "fsync"));
    const std::string name = nameOfSync(descriptor);
    if (!name.empty() && name == valueOf("POWER_SKIP")) {
        note("skipped", name);
        return 0;
    }
    note("begin", name);
    const int result = real(descriptor);
    note("end", name);
    return result;
}
