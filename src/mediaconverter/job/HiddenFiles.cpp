#include "mediaconverter/job/HiddenFiles.h"

#include "mediaconverter/job/NamesInFolder.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <string_view>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <vector>

namespace mediaconverter::hiddenfiles {

namespace {

constexpr std::string_view prefix = ".record-converter-";
constexpr std::string_view suffix = ".part";

struct Entry {
    int folder;
    std::string name;
};

/// Removes remaining files when the process exits in the middle of a conversion.
class Registry {
public:
    void removeAll() {
        const std::lock_guard lock(mutex_);
        for (const Entry& entry : entries_) {
            ::unlinkat(entry.folder, entry.name.c_str(), 0);
        }
    }

    void add(int folder, const std::string& name) {
        const std::lock_guard lock(mutex_);
        entries_.push_back({folder, name});
    }

    void remove(int folder, const std::string& name) {
        const std::lock_guard lock(mutex_);
        std::erase_if(entries_, [&](const Entry& entry) { return entry.folder == folder && entry.name == name; });
    }

private:
    std::mutex mutex_;
    std::vector<Entry> entries_;
};

Registry& registry() {
    // Never destroyed: when the process ends, a conversion may still be using it.
    static auto& instance = *[] {
        static_cast<void>(std::atexit([] { registry().removeAll(); }));
        return new Registry;
    }();
    return instance;
}

/// A file that no process has locked belongs to a process that has ended.
void removeIfLeft(int folder, const char* name) {
    const UniqueDescriptor left(::openat(folder, name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (left && ::flock(left.get(), LOCK_EX | LOCK_NB) == 0) {
        ::unlinkat(folder, name, 0);
    }
}

void sweep(int folder) {
    for (const std::string& name : namesIn(folder, prefix, suffix)) {
        removeIfLeft(folder, name.c_str());
    }
}

std::string freshName() {
    std::uint64_t number = 0;
    static_cast<void>(!::getrandom(&number, sizeof number, 0));
    char text[24];
    static_cast<void>(std::snprintf(text, sizeof text, "%016" PRIx64, number));
    return std::string(prefix) + text + std::string(suffix);
}

}  // namespace

HiddenFile make(int folder) {
    sweep(folder);
    for (int attempt = 0; attempt < 8; ++attempt) {
        HiddenFile made{UniqueDescriptor(), freshName()};
        made.descriptor = UniqueDescriptor(
            ::openat(folder, made.name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!made.descriptor) {
            if (errno == EEXIST) {
                continue;
            }
            return made;
        }
        // Another converter may have removed it between its creation and the lock.
        struct stat status = {};
        static_cast<void>(::flock(made.descriptor.get(), LOCK_EX | LOCK_NB));
        if (::fstat(made.descriptor.get(), &status) == 0 && status.st_nlink > 0) {
            registry().add(folder, made.name);
            return made;
        }
    }
    errno = EEXIST;
    return {};
}

void forget(int folder, const std::string& name) {
    registry().remove(folder, name);
}

}  // namespace mediaconverter::hiddenfiles
