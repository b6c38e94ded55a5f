#include "recordkeeping/PendingFolder.h"

#include "platform/BackgroundExecutor.h"
#include "platform/DispatchQueue.h"
#include "platform/SystemLog.h"
#include "recordkeeping/PendingNames.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace recordkeeping {

namespace {

// A leftover of this age belongs to no write in progress. Seconds.
constexpr std::time_t restAge = 60;

std::string valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

}  // namespace

std::string PendingFolder::standardPath() {
    const std::string state = valueOf("XDG_STATE_HOME");
    const std::string home = valueOf("HOME");
    // Relative paths are to be ignored (XDG Base Directory Specification).
    if (state.starts_with('/')) {
        return state + "/record-converter/pending";
    }
    return home.empty() ? "" : home + "/.local/state/record-converter/pending";
}

PendingFolder::PendingFolder(std::string path, platform::BackgroundExecutor& executor, platform::DispatchQueue& later)
    : path_(std::move(path)), executor_(executor), later_(later) {}

PendingFolder::~PendingFolder() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

int PendingFolder::descriptor() {
    const std::lock_guard lock(mutex_);
    if (descriptor_ < 0 && !path_.empty()) {
        descriptor_ = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor_ < 0) {
            made_.make(path_);
            descriptor_ = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        }
    }
    return descriptor_;
}

std::vector<PendingFolder::Named> PendingFolder::read() {
    const int folder = ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        return {};
    }
    std::set<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator file(path_, error), end; !error && file != end; file.increment(error)) {
        files.insert(file->path().filename().string());
    }
    std::map<std::string, PendingEntry> found;
    for (const std::string& file : files) {
        const std::string name = pendingnames::nameOf(file);
        const auto entry = pendingnames::isUnfinished(file) ? std::nullopt : readFile(folder, file);
        if (!entry) {
            removeRest(folder, file);
        } else if (pendingnames::isFresh(file)) {
            found[name] = *entry;
        } else {
            found.emplace(name, *entry);
        }
    }
    ::close(folder);
    return {found.begin(), found.end()};
}

std::optional<PendingEntry> PendingFolder::readFile(int folder, const std::string& name) {
    const int file = ::openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) {
        return std::nullopt;
    }
    std::string text;
    std::array<char, 4096> room;
    for (::ssize_t size = 0; (size = ::read(file, room.data(), room.size())) > 0;) {
        text.append(room.data(), static_cast<std::size_t>(size));
    }
    ::close(file);
    return pendingEntryFromText(text);
}

void PendingFolder::removeRest(int folder, const std::string& name) {
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
        status.st_mtime + restAge < std::time(nullptr)) {
        ::unlinkat(folder, name.c_str(), 0);
    }
}

std::optional<std::string> PendingFolder::add(const PendingEntry& entry) {
    const int folder = descriptor();
    std::string name = pendingnames::madeNow();
    const std::string text = asText(entry);
    while (folder >= 0) {
        if (write(folder, name, O_CREAT | O_EXCL, text)) {
            syncSoon(name);
            return name;
        }
        if (errno != EEXIST) {
            break;
        }
        name += '+';
    }
    sayTrouble("write to");
    return std::nullopt;
}

void PendingFolder::replace(const std::string& name, const PendingEntry& entry) {
    const int folder = descriptor();
    if (folder >= 0 && writeFresh(folder, name, asText(entry))) {
        syncSoon(name);
    } else {
        sayTrouble("write to");
    }
}

bool PendingFolder::writeFresh(int folder, const std::string& name, const std::string& text) {
    const std::string unfinished = pendingnames::unfinished(name);
    const std::lock_guard lock(mutex_);
    if (!write(folder, unfinished, O_CREAT | O_TRUNC, text) ||
        ::renameat(folder, unfinished.c_str(), folder, pendingnames::fresh(name).c_str()) != 0) {
        return false;
    }
    ++fresh_[name];
    return true;
}

void PendingFolder::adoptFresh(const std::string& name) {
    const int folder = descriptor();
    const std::string fresh = pendingnames::fresh(name);
    if (folder >= 0 && readFile(folder, fresh) && sync(folder, fresh)) {
        ::renameat(folder, fresh.c_str(), folder, name.c_str());
    }
}

void PendingFolder::remove(const std::string& name) {
    const int folder = name.empty() ? -1 : descriptor();
    if (folder < 0) {
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        fresh_.erase(name);
        // In this order: if a power cut comes between the two, the older content must not remain.
        ::unlinkat(folder, name.c_str(), 0);
        ::unlinkat(folder, pendingnames::fresh(name).c_str(), 0);
    }
    syncSoon(name);
}

void PendingFolder::syncNow(const std::string& name) {
    const int folder = name.empty() ? -1 : descriptor();
    if (folder >= 0) {
        syncOne(folder, name);
        syncFolder(folder);
    }
}

bool PendingFolder::write(int folder, const std::string& name, int flags, const std::string& text) {
    const int file = ::openat(folder, name.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | flags, 0600);
    if (file < 0) {
        return false;
    }
    const bool isWritten = ::write(file, text.data(), text.size()) == static_cast<::ssize_t>(text.size());
    const int error = errno;
    ::close(file);
    if (!isWritten) {
        ::unlinkat(folder, name.c_str(), 0);
        errno = error;
    }
    return isWritten;
}

void PendingFolder::syncSoon(const std::string& name) {
    {
        const std::lock_guard lock(mutex_);
        unsynced_.insert(name);
        if (std::exchange(isSyncing_, true)) {
            return;
        }
    }
    later_.async([this] { executor_.async([this] { syncAll(); }); });
}

void PendingFolder::syncAll() {
    for (;;) {
        std::set<std::string> names;
        int folder = -1;
        {
            const std::lock_guard lock(mutex_);
            if (unsynced_.empty()) {
                isSyncing_ = false;
                return;
            }
            names.swap(unsynced_);
            folder = descriptor_;
        }
        for (const std::string& name : names) {
            syncOne(folder, name);
        }
        syncFolder(folder);
    }
}

void PendingFolder::syncFolder(int folder) {
    // A name is only as durable as its folder, and the folder only as its own name.
    made_.sync();
    ::fsync(folder);
}

void PendingFolder::syncOne(int folder, const std::string& name) {
    std::optional<unsigned> revision;
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = fresh_.find(name); found != fresh_.end()) {
            revision = found->second;
        }
    }
    if (!revision) {
        sync(folder, name);
        return;
    }
    // Only synced content may replace synced content: file systems write names before content.
    const std::string fresh = pendingnames::fresh(name);
    const bool isSynced = sync(folder, fresh);
    const std::lock_guard lock(mutex_);
    const auto found = fresh_.find(name);
    if (isSynced && found != fresh_.end() && found->second == *revision) {
        ::renameat(folder, fresh.c_str(), folder, name.c_str());
        fresh_.erase(found);
    }
}

bool PendingFolder::sync(int folder, const std::string& file) {
    const int descriptor = ::openat(folder, file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) {
        return false;
    }
    const bool isSynced = ::fsync(descriptor) == 0;
    ::close(descriptor);
    return isSynced;
}

void PendingFolder::sayTrouble(const std::string& what) {
    const int error = errno;
    const std::lock_guard lock(mutex_);
    if (!std::exchange(hasSaidTrouble_, true)) {
        platform::SystemLog::standard().write(
            "can't " + what + " " + path_ + ": " + std::generic_category().message(error) +
                "; recordings that wait when this process is killed are not remembered",
            platform::Severity::error);
    }
}

PendingFolder::Lock::Lock(const PendingFolder& folder)
    : descriptor_(::open(folder.path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (descriptor_ >= 0) {
        ::flock(descriptor_, LOCK_EX);
    }
}

PendingFolder::Lock::~Lock() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

}  // namespace recordkeeping
