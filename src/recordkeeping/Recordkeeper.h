#pragma once

#include "platform/Platform.h"
#include "recordkeeping/MeetingProcessWatch.h"
#include "recordkeeping/NewestTimerRunLoop.h"
#include "recordkeeping/TappedNotificationCenter.h"
#include "recordkeeping/WorkWatch.h"

#include <cstdint>
#include <memory>
#include <optional>

class AppDelegate;

namespace platform {
class BusySerialQueueMaker;
}

namespace recordkeeping {

/// Sees to it that the application forgets no recording and ends in the end, whatever dies around it and whatever
/// happens at the same moment. Stands between the application and its platform. Main thread; lives until the process
/// ends.
class Recordkeeper final {
public:
    /// All of it outlives this object. `queues` is what makes serial queues in `platform`; its busy handler calls
    /// `noteIdle`. The exit watch in `platform` reports processes that it does not find to `noteGone`.
    Recordkeeper(const platform::Platform& platform, platform::BusySerialQueueMaker& queues,
                 MeetingProcessWatch::Barrier afterDelivery);
    ~Recordkeeper();

    Recordkeeper(const Recordkeeper&) = delete;
    Recordkeeper& operator=(const Recordkeeper&) = delete;

    /// What the application is to be handed in place of the platform.
    platform::Platform platformForApplication();

    /// The application that has been handed it. Once, before it is launched.
    void setApplication(std::shared_ptr<AppDelegate> application);

    /// The application has finished launching.
    void noteLaunched();

    void noteIdle();
    void noteGone(std::int32_t processId);

    /// False while the application has or may get work.
    bool mayTerminate() const;

private:
    void noteHandled(const platform::DistributedNotification& notification);
    void noteEnded(std::int32_t processId);
    bool isKnown(std::int32_t processId) const;

    const platform::Platform platform_;
    platform::BusySerialQueueMaker& queues_;
    TappedNotificationCenter center_;
    MeetingProcessWatch processWatch_;
    NewestTimerRunLoop runLoop_;
    std::shared_ptr<AppDelegate> application_;
    std::optional<WorkWatch> work_;
};

}  // namespace recordkeeping
