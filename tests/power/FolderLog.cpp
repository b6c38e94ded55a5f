// Preloaded into programs that change the folder POWER_ROOT: logs which names its folders get and lose and what is
// synced, in the order in which it happens, so that tests can build what a file system that promises no more than POSIX
// may have kept. POWER_FOLDERS is the folder of the log and of a copy of each file that is synced;
// tests/power/folders.py reads it.

#include <array>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::string valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

std::string pathOf(int descriptor) {
    std::string path(PATH_MAX, '\0');
    const auto length = ::readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path.data(), path.size());
    path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return path;
}

std::string idOf(const struct stat& status) {
    return std::to_string(status.st_ino);
}

/// A name in a folder, whether or not it exists.
struct Place {
    std::string folder;
    std::string name;

    static Place of(int folder, const char* path) {
        const std::string text = path;
        const auto slash = text.rfind('/');
        if (slash != std::string::npos) {
            return {text.substr(0, slash), text.substr(slash + 1)};
        }
        return {folder == AT_FDCWD ? "." : pathOf(folder), text};
    }

    bool isWatched() const { return (folder + "/").starts_with(valueOf("POWER_ROOT") + "/"); }
    std::string path() const { return folder + "/" + name; }

    /// For the log: the folder, the name, and the file that has the name now.
    std::string asText() const {
        struct stat status = {};
        std::string text = ::stat(folder.c_str(), &status) == 0 ? idOf(status) : "?";
        text += "\t" + name + "\t";
        return text + (::lstat(path().c_str(), &status) == 0 ? idOf(status) : "-");
    }
};

/// While an object of this class exists, nothing else is logged.
class Log {
public:
    Log()
        : file_(static_cast<int>(::syscall(SYS_openat, AT_FDCWD, (valueOf("POWER_FOLDERS") + "/log").c_str(),
                                           O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600))) {
        ::flock(file_, LOCK_EX);
    }
    ~Log() { ::close(file_); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    void add(const std::string& line) const {
        const std::string text = line + "\n";
        if (::write(file_, text.data(), text.size()) != static_cast<::ssize_t>(text.size())) {
            std::abort();
        }
    }

    void addNew(int descriptor) const {
        struct stat status = {};
        ::fstat(descriptor, &status);
        add("new\t" + idOf(status));
    }

    /// Copies what was synced.
    void addSynced(int descriptor) const {
        struct stat status = {};
        ::fstat(descriptor, &status);
        if (S_ISDIR(status.st_mode)) {
            add("folder\t" + idOf(status));
            return;
        }
        const std::string copy = "copy-" + std::to_string(::lseek(file_, 0, SEEK_END));
        const int to = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, (valueOf("POWER_FOLDERS") + "/" + copy).c_str(),
                                                  O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        const int from = static_cast<int>(::syscall(
            SYS_openat, AT_FDCWD, ("/proc/self/fd/" + std::to_string(descriptor)).c_str(), O_RDONLY | O_CLOEXEC));
        std::array<char, 65536> room;
        for (::ssize_t size = 0; (size = ::read(from, room.data(), room.size())) > 0;) {
            if (::write(to, room.data(), static_cast<std::size_t>(size)) != size) {
                std::abort();
            }
        }
        ::close(from);
        ::close(to);
        add("file\t" + idOf(status) + "\t" + copy);
    }

private:
    const int file_;
};

template<typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

int openLogged(int folder, const char* path, int flags, ::mode_t mode) {
    const auto real = [&] { return static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode)); };
    const Place place = Place::of(folder, path);
    if ((flags & (O_CREAT | O_TMPFILE)) == 0 || (flags & O_TMPFILE) == O_DIRECTORY || !place.isWatched()) {
        return real();
    }
    const Log log;
    struct stat status = {};
    const bool isNew = ::lstat(place.path().c_str(), &status) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const int file = real();
    if (file >= 0 && isNew) {
        log.addNew(file);
        if ((flags & O_CREAT) != 0) {
            log.add("names\t" + place.asText());
        }
    }
    return file;
}

/// Logs the names that `call` has added or removed.
template<typename Call>
int changeLogged(const Place& first, const std::optional<Place>& second, Call call) {
    if (!first.isWatched() && !(second && second->isWatched())) {
        return call();
    }
    const Log log;
    const int result = call();
    if (result == 0) {
        log.add("names\t" + first.asText() + (second ? "\t" + second->asText() : ""));
    }
    return result;
}

::mode_t modeOf(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, ::mode_t) : 0;
}

}  // namespace

#define LOGGED extern "C" __attribute__((visibility("default"))) int

LOGGED open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const ::mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openLogged(AT_FDCWD, path, flags, mode);
}

LOGGED openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const ::mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openLogged(folder, path, flags, mode);
}

LOGGED mkdir(const char* path, ::mode_t mode) {
    static const auto real = next<int (*)(const char*, ::mode_t)>("mkdir");
    return changeLogged(Place::of(AT_FDCWD, path), std::nullopt, [&] { return real(path, mode); });
}

LOGGED linkat(int from, const char* source, int to, const char* name, int flags) {
    static const auto real = next<int (*)(int, const char*, int, const char*, int)>("linkat");
    return changeLogged(Place::of(to, name), std::nullopt, [&] { return real(from, source, to, name, flags); });
}

LOGGED renameat(int from, const char* source, int to, const char* name) {
    static const auto real = next<int (*)(int, const char*, int, const char*)>("renameat");
    return changeLogged(Place::of(from, source), Place::of(to, name), [&] { return real(from, source, to, name); });
}

LOGGED renameat2(int from, const char* source, int to, const char* name, unsigned flags) {
    static const auto real = next<int (*)(int, const char*, int, const char*, unsigned)>("renameat2");
    return changeLogged(Place::of(from, source), Place::of(to, name),
                        [&] { return real(from, source, to, name, flags); });
}

LOGGED unlinkat(int folder, const char* name, int flags) {
    static const auto real = next<int (*)(int, const char*, int)>("unlinkat");
    return changeLogged(Place::of(folder, name), std::nullopt, [&] { return real(folder, name, flags); });
}

LOGGED unlink(const char* path) {
    static const auto real = next<int (*)(const char*)>("unlink");
    return changeLogged(Place::of(AT_FDCWD, path), std::nullopt, [&] { return real(path); });
}

LOGGED fsync(int descriptor) {
    static const auto real = next<int (*)(int)>("fsync");
    if (!(pathOf(descriptor) + "/").starts_with(valueOf("POWER_ROOT") + "/")) {
        return real(descriptor);
    }
    const Log log;
    const int result = real(descriptor);
    if (result == 0) {
        log.addSynced(descriptor);
    }
    return result;
}
