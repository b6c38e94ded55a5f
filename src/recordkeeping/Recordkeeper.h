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

/// Makes sure that the application forgets no recording and eventually ends, whatever dies around it and whatever
/// happens at the same moment. Sits between the application and its platform. Main thread; lives until the process
/// ends.
class Recordkeeper final {
public:
    /// Services that it needs in addition to the application's platform. All of them outlive this object.
    struct Services {
        /// Creates the platform's serial queues; its busy handler calls `noteIdle`.
        platform::BusySerialQueueMaker& queues;
        /// The maker that `queues` uses: lets no step run between the start of a job and its end.
        platform::GatedSerialQueueMaker& gate;
        MeetingProcessWatch::Barrier afterDelivery;
        PendingFolder& folder;
        const platform::ProcessIdentities& processes;
        /// Shows the user the progress of the conversions; main thread.
        std::function<void(const WorkProgress&)> showProgress = [](const WorkProgress&) {};
    };

    /// All of `platform` outlives this object. Its exit watch reports processes that it does not find to `noteGone`.
    Recordkeeper(const platform::Platform& platform, Services services);
    ~Recordkeeper();

    Recordkeeper(const Recordkeeper&) = delete;
    Recordkeeper& operator=(const Recordkeeper&) = delete;

    /// The platform for the application, in place of the real one.
    platform::Platform platformForApplication();

    /// Sets the application that uses that platform. Once, before it is launched. Takes charge of what other converters
    /// have left, and stores the recording that this process was launched for.
    void setApplication(std::shared_ptr<AppDelegate> application);

    /// The application has finished launching. Passes to it the recordings that other converters have left.
    void noteLaunched();

    void noteIdle();
    void noteGone(std::int32_t processId);

    /// False while the application has or may get work.
    bool mayTerminate() const;

    /// The process is about to end or to restart: logs what is left. False if nothing is left. Any thread.
    bool noteEnding();

    /// A known meeting process that writes nothing, so that no entry would restore it; absent if there is none.
    std::optional<std::int32_t> meetingWithoutRecording() const;

private:
    void noteArriving(const platform::DistributedNotification& notification);
    void noteHandled(const platform::DistributedNotification& notification);
    void noteEnded(std::int32_t processId);
    void announceLaunch();
    /// If `processId` is writing the file at `path`, returns the name under which that recording is known. Otherwise
    /// stops its recording and returns `path`.
    std::string stopOlderRecording(std::int32_t processId, const std::string& path);
    void watchJobs();
    // Called on the runner's threads, like the next two.
    void noteStarting(const std::shared_ptr<KTRMeetingRecordItem>& item);
    bool keepsIntermediate(const std::shared_ptr<KTRMeetingRecordItem>& item);
    void noteJobEnded(const std::shared_ptr<KTRMeetingRecordItem>& item);
    void noteOutcomeShown(const std::shared_ptr<KTRMeetingRecordItem>& item);
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
    std::mutex unreportedMutex_;
    /// Jobs from their start until their result has been reported. A media converter may work on its own thread, in
    /// which case no queue has work meanwhile.
    std::set<std::shared_ptr<KTRMeetingRecordItem>> unreported_;
    /// Values of this launch, for recordings that bring none of their own.
    std::int32_t launchLanguage_ = 1;
    bool launchKeeps_ = false;
    std::int32_t language_ = 1;
};

}  // namespace recordkeeping
