#pragma once

namespace platform {
class BusySerialQueueMaker;
class DispatchQueue;
}  // namespace platform

class AppDelegate;

namespace recordkeeping {

/// Puts right what the application's own order leaves open between its threads: a job that waits although no step will
/// come, a quit check that was not begun although nothing is left, and one that was begun although a meeting records.
/// Main thread.
class WorkWatch final {
public:
    /// All of them outlive this object. `queues` made the application's conversion queue.
    WorkWatch(AppDelegate& application, const platform::BusySerialQueueMaker& queues,
              platform::DispatchQueue& mainQueue);

    /// Something may have changed: a notification has been handled, a process has ended, the queue has become idle.
    /// Looks at the application once everything that is on the main queue now has run.
    void look();

    /// The conversion queue has no work left.
    void noteIdle();

    /// Counts as work done, so that the application ends when there is none left.
    void noteServed() { hasServed_ = true; }

    /// False while a job waits or runs, and while a meeting process is known.
    bool mayTerminate() const;

private:
    bool isWorking() const;
    void putRight();

    AppDelegate& application_;
    const platform::BusySerialQueueMaker& queues_;
    platform::DispatchQueue& mainQueue_;
    /// A meeting has been known or a job has run. A launch without either waits for the first one.
    bool hasServed_ = false;
    bool willLook_ = false;
};

}  // namespace recordkeeping
