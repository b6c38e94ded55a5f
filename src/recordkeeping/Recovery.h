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

/// Passes recordings that another converter has left to the application, in the form of a meeting client's
/// notifications, and tells the user about those that were saved but not reported. Main thread.
class Recovery final {
public:
    Recovery(AppDelegate& application, TappedNotificationCenter& center, PendingRecordings& pending,
             const platform::ProcessIdentities& processes, const platform::FileManager& files);

    /// `entries` is the result of `PendingRecordings::takeOver`. True if there were any: an application that was
    /// started only for them may then end.
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
    /// Recordings whose process has ended, by the id under which the application gets them.
    std::map<std::int32_t, Group> groups_;
    bool hasWork_ = false;
};

}  // namespace recordkeeping
