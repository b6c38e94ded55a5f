#pragma once

namespace platform {
class BusySerialQueueMaker;
class DispatchQueue;
}  // namespace platform

class AppDelegate;

namespace recordkeeping {

/// Closes the gaps that the application's own order leaves between its threads: a job that waits although no step will
/// come, a quit check that was not started although nothing is left, and one that was started although a meeting
/// records. Main thread.
class WorkWatch final {
public:
    /// All of them outlive this object. `queues` made the application's conversion queue.
    WorkWatch(AppDelegate& application, const platform::BusySerialQueueMaker& queues,
              platform::DispatchQueue& mainQueue);

    /// Something may have changed: a notification has been handled, a process has ended, or the queue has become idle.
    /// Checks the application once everything that is on the main queue now has run.
    void look();

    /// The conversion queue has no work left.
    void noteIdle();

    /// Counts as work done, so that the application ends once none is left.
    void noteServed() { hasServed_ = true; }

    /// False while a job waits or runs, or a meeting process is known.
    bool mayTerminate() const;

private:
    bool isWorking() const;
    void putRight();

    AppDelegate& application_;
    const platform::BusySerialQueueMaker& queues_;
    platform::DispatchQueue& mainQueue_;
    /// A meeting process has been known or a job has run. A launch without either waits for the first one.
    bool hasServed_ = false;
    bool willLook_ = false;
};

}  // namespace recordkeeping
