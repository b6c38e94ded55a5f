#include "recordkeeping/WorkWatch.h"

#include "AppDelegate.h"
#include "platform/BusySerialQueueMaker.h"
#include "platform/DispatchQueue.h"

namespace recordkeeping {

WorkWatch::WorkWatch(AppDelegate& application, const platform::BusySerialQueueMaker& queues,
                     platform::DispatchQueue& mainQueue)
    : application_(application), queues_(queues), mainQueue_(mainQueue) {}

void WorkWatch::look() {
    // A process that came and went before this check has been served too.
    hasServed_ = hasServed_ || application_.meetingPool()->countOfMeetingProcesses() > 0;
    if (willLook_) {
        return;
    }
    willLook_ = true;
    // Not at once: a quit check that is being started creates its timer in a task on this queue.
    mainQueue_.async([this] {
        willLook_ = false;
        putRight();
    });
}

void WorkWatch::noteIdle() {
    noteServed();
    look();
}

bool WorkWatch::mayTerminate() const {
    return !isWorking() && !application_.convertingJobRunner()->hasJobsWaiting() &&
           application_.meetingPool()->countOfMeetingProcesses() == 0;
}

bool WorkWatch::isWorking() const {
    return queues_.isBusy() || application_.convertingJobRunner()->hasJobRunning();
}

void WorkWatch::putRight() {
    if (isWorking()) {
        return;
    }
    if (application_.convertingJobRunner()->hasJobsWaiting()) {
        application_.convertingJobRunner()->runNextJob();
        return;
    }
    const bool isMeeting = application_.meetingPool()->countOfMeetingProcesses() > 0;
    const bool hasTimer = application_.checkNeedTerminateTimer() != nullptr;
    if (isMeeting && (hasTimer || application_.bAllTaskFinished())) {
        application_.setBAllTaskFinished(false);
        // A check that is being started creates its timer later.
        look();
    } else if (!isMeeting && hasServed_ && !(hasTimer && application_.bAllTaskFinished())) {
        application_.setBAllTaskFinished(true);
    }
}

}  // namespace recordkeeping
