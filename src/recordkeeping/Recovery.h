#pragma once

#include "recordkeeping/PendingRecordings.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace platform {
class FileManager;
}

class AppDelegate;

namespace recordkeeping {

class TappedNotificationCenter;

/// Brings recordings that another converter has left to the application, by the notifications of a meeting client, and
/// tells the user of those that were saved but not told. Main thread.
class Recovery final {
public:
    Recovery(AppDelegate& application, TappedNotificationCenter& center, PendingRecordings& pending,
             const platform::ProcessIdentities& processes, const platform::FileManager& files);

    /// `entries` as `PendingRecordings::takeOver` returned them. True when there was any: an
    /// application that was started for them alone may end then.
    bool bring(const std::vector<PendingEntry>& entries);

private:
    using Group = std::vector<std::string>;

    bool isSaved(const PendingEntry& entry) const;
    void bringOne(const PendingEntry& entry);
    void announceAgain(const PendingEntry& entry);
    void convertGroups();
    std::int32_t idFor(const PendingEntry& entry) const;
    bool isWriting(std::int32_t processId) const;
    void speak(const char* name, std::int32_t processId, const std::string& path = {});

    AppDelegate& application_;
    TappedNotificationCenter& center_;
    PendingRecordings& pending_;
    const platform::ProcessIdentities& processes_;
    const platform::FileManager& files_;
    /// Recordings whose process is gone, by the id under which the application gets them.
    std::map<std::int32_t, Group> groups_;
    bool hasWork_ = false;
};

}  // namespace recordkeeping
