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

/// The folder that holds one file per pending recording. What is written survives the process at once, and a power cut
/// as soon as a background thread has synced it; that thread ends when it has nothing left to sync. A folder that can't
/// be used is said once in the system log, and nothing is kept then. Any thread.
class PendingFolder final {
public:
    /// A file's name and what it holds.
    using Named = std::pair<std::string, PendingEntry>;

    /// $XDG_STATE_HOME/record-converter/pending; below ~/.local/state where that is not set. Empty without a home.
    static std::string standardPath();

    /// The syncing begins from a task on `later`, so that not even the start of its thread delays the caller. Both
    /// outlive this object, and this object everything that they run. Touches no disk.
    PendingFolder(std::string path, platform::BackgroundExecutor& executor, platform::DispatchQueue& later);
    ~PendingFolder();

    PendingFolder(const PendingFolder&) = delete;
    PendingFolder& operator=(const PendingFolder&) = delete;

    /// All whole entries, oldest first. Removes what is none: the rest of a write that was cut off.
    std::vector<Named> read();

    /// Writes a new file; its name, absent when that failed. Makes the folder where there is none.
    std::optional<std::string> add(const PendingEntry& entry);

    /// Puts `entry` in the place of the file's content: a reader finds either the old or the new one, also after a
    /// power cut. The new content stays in a hidden file beside the old until it has been synced.
    void replace(const std::string& name, const PendingEntry& entry);

    /// Content that another process had not yet brought to the disk takes its place now. Waits for the disk where there
    /// is some. To be called before the entry of a process that has ended is replaced.
    void takeFresh(const std::string& name);

    /// Removes the entry with its newer content; nothing where `name` is empty.
    void remove(const std::string& name);

    /// On return the entry's newest content is on the disk, as far as the disk can tell.
    void syncNow(const std::string& name);

    /// While it lives, no other process holds one on this folder. Waits for it.
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
    /// -1 when there is none and none can be made.
    int descriptor();
    bool write(int folder, const std::string& name, int flags, const std::string& text);
    bool writeFresh(int folder, const std::string& name, const std::string& text);
    std::optional<PendingEntry> readFile(int folder, const std::string& name);
    void removeRest(int folder, const std::string& name);
    void syncSoon(const std::string& name);
    void syncAll();
    void syncOne(int folder, const std::string& name);
    /// All names in it, and its own.
    void syncFolder(int folder);
    /// Whether the file is there and on the disk.
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
    /// Entries with newer content in a hidden file, and how often that has been replaced.
    std::map<std::string, unsigned> fresh_;
    bool isSyncing_ = false;
};

}  // namespace recordkeeping
