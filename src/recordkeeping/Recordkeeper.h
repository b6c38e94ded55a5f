#pragma once

#include "platform/Platform.h"
#include "recordkeeping/MeetingProcessWatch.h"
#include "recordkeeping/NewestTimerRunLoop.h"
#include "recordkeeping/PendingRecordings.h"
#include "recordkeeping/ProgressWatch.h"
#include "recordkeeping/TappedNotificationCenter.h"
#include "recordkeeping/WorkWatch.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

class AppDelegate;
class KTRMeetingRecordItem;

namespace platform {
class BusySerialQueueMaker;
class GatedSerialQueueMaker;
}  // namespace platform

namespace recordkeeping {

class JobWatch;
class Recovery;

/// Sees to it that the application forgets no recording and ends in the end, whatever dies around it and whatever
/// happens at the same moment. Stands between the application and its platform. Main thread; lives until the process
/// ends.
class Recordkeeper final {
public:
    /// What it needs besides the application's platform. All of it outlives this object.
    struct Services {
        /// What makes serial queues in the platform; its busy handler calls `noteIdle`.
        platform::BusySerialQueueMaker& queues;
        /// What `queues` makes its queues through: no step comes between a job and its end.
        platform::GatedSerialQueueMaker& gate;
        MeetingProcessWatch::Barrier afterDelivery;
        PendingFolder& folder;
        const platform::ProcessIdentities& processes;
        /// Shows the user how the conversions go; main thread.
        std::function<void(const WorkProgress&)> showProgress = [](const WorkProgress&) {};
    };

    /// All of `platform` outlives this object. Its exit watch reports processes that it does not find to `noteGone`.
    Recordkeeper(const platform::Platform& platform, Services services);
    ~Recordkeeper();

    Recordkeeper(const Recordkeeper&) = delete;
    Recordkeeper& operator=(const Recordkeeper&) = delete;

    /// What the application is to be handed in place of the platform.
    platform::Platform platformForApplication();

    /// The application that has been handed it. Once, before it is launched. Takes charge of what other converters have
    /// left, and notes the recording that this process was launched for.
    void setApplication(std::shared_ptr<AppDelegate> application);

    /// The application has finished launching. Gives it the recordings that other converters have left.
    void noteLaunched();

    void noteIdle();
    void noteGone(std::int32_t processId);

    /// False while the application has or may get work.
    bool mayTerminate() const;

    /// The process is about to end, or to start again: tells the system log what is left. False when nothing is. Any
    /// thread.
    bool noteEnding();

    /// A meeting process that is known and writes nothing, so that no entry brings it back; absent when there is none.
    std::optional<std::int32_t> meetingWithoutRecording() const;

private:
    void noteArriving(const platform::DistributedNotification& notification);
    void noteHandled(const platform::DistributedNotification& notification);
    void noteEnded(std::int32_t processId);
    void announceLaunch();
    /// What `processId` is writing, under the very name that is known, where that is the file at `path`. Otherwise it
    /// is stopped, and `path` comes back.
    std::string stopOlderRecording(std::int32_t processId, const std::string& path);
    void watchJobs();
    // These three on the runner's threads.
    void noteStarting(const std::shared_ptr<KTRMeetingRecordItem>& item);
    bool keepsIntermediate(const std::shared_ptr<KTRMeetingRecordItem>& item);
    void noteJobEnded(const std::shared_ptr<KTRMeetingRecordItem>& item);
    void noteTold(const std::shared_ptr<KTRMeetingRecordItem>& item);
    void watchOtherConverters();
    void bringLeft(const std::vector<PendingEntry>& entries);
    void useLanguage(std::int32_t language);
    bool isKnown(std::int32_t processId) const;

    const platform::Platform platform_;
    const Services services_;
    TappedNotificationCenter center_;
    MeetingProcessWatch processWatch_;
    NewestTimerRunLoop runLoop_;
    PendingRecordings pending_;
    ProgressWatch progress_;
    std::shared_ptr<AppDelegate> application_;
    std::optional<WorkWatch> work_;
    std::unique_ptr<Recovery> recovery_;
    std::shared_ptr<JobWatch> jobs_;
    std::vector<PendingEntry> left_;
    std::mutex untoldMutex_;
    /// Jobs from their start until their outcome has been told. A media converter may work on its own thread, so that
    /// no queue has work meanwhile.
    std::set<std::shared_ptr<KTRMeetingRecordItem>> untold_;
    /// Those of this launch, for every recording that does not bring its own.
    std::int32_t launchLanguage_ = 1;
    bool launchKeeps_ = false;
    std::int32_t language_ = 1;
};

}  // namespace recordkeeping
