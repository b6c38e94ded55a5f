#pragma once

#include "recordkeeping/MadeFolders.h"
#include "recordkeeping/PendingEntry.h"

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace platform {
class BackgroundExecutor;
class DispatchQueue;
}  // namespace platform

namespace recordkeeping {

/// The folder that holds one file per pending recording. Entries survive the end of the process at once, and a power
/// cut as soon as a background thread has synced them; that thread ends when it has nothing left to sync. If the folder
/// cannot be used, the system log reports this once, and nothing is stored. Any thread.
class PendingFolder final {
public:
    /// The name of a file, and its content.
    using Named = std::pair<std::string, PendingEntry>;

    /// $XDG_STATE_HOME/record-converter/pending; below ~/.local/state if that is not set. Empty without a home.
    static std::string standardPath();

    /// Syncing starts from a task on `later`, so that not even the start of its thread delays the caller. Both outlive
    /// this object, which in turn outlives everything that they run for it. Does not access the disk.
    PendingFolder(std::string path, platform::BackgroundExecutor& executor, platform::DispatchQueue& later);
    ~PendingFolder();

    PendingFolder(const PendingFolder&) = delete;
    PendingFolder& operator=(const PendingFolder&) = delete;

    /// All complete entries, oldest first. Removes incomplete ones, which are leftovers of interrupted writes.
    std::vector<Named> read();

    /// Writes a new file and returns its name; absent if that failed. Creates the folder if it is missing.
    std::optional<std::string> add(const PendingEntry& entry);

    /// Replaces the content of the file with `entry`: a reader finds either the old or the new one, even after a power
    /// cut. The new content stays in a hidden file until it has been synced.
    void replace(const std::string& name, const PendingEntry& entry);

    /// Makes content that another process had not yet synced replace the entry now, and waits for the disk if there is
    /// any. Call before replacing an entry of a process that has ended.
    void adoptFresh(const std::string& name);

    /// Removes the entry and its newer content; does nothing if `name` is empty.
    void remove(const std::string& name);

    /// When this returns, the entry's newest content is on the disk, as far as the disk reports.
    void syncNow(const std::string& name);

    /// While it exists, no other process can hold one on this folder. The constructor waits for it.
    class Lock final {
    public:
        explicit Lock(const PendingFolder& folder);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        int descriptor_;
    };

private:
    /// -1 if the folder does not exist and cannot be created.
    int descriptor();
    bool write(int folder, const std::string& name, int flags, const std::string& text);
    bool writeFresh(int folder, const std::string& name, const std::string& text);
    std::optional<PendingEntry> readFile(int folder, const std::string& name);
    void removeRest(int folder, const std::string& name);
    void syncSoon(const std::string& name);
    void syncAll();
    void syncOne(int folder, const std::string& name);
    /// Syncs all names in the folder, and its own name.
    void syncFolder(int folder);
    /// Whether the file exists and has been synced.
    bool sync(int folder, const std::string& file);
    void sayTrouble(const std::string& what);

    const std::string path_;
    platform::BackgroundExecutor& executor_;
    platform::DispatchQueue& later_;
    MadeFolders made_;
    std::mutex mutex_;
    int descriptor_ = -1;
    bool hasSaidTrouble_ = false;
    std::set<std::string> unsynced_;
    /// Entries with newer content in a hidden file, and how often that content has been replaced.
    std::map<std::string, unsigned> fresh_;
    bool isSyncing_ = false;
};

}  // namespace recordkeeping
