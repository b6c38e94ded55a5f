#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform::qt {

/// The names and keys that a second launch uses to act as a meeting client: notification names, then user-info keys.
struct LaunchVocabulary {
    std::string recordingStarted;
    std::string acknowledgement;
    std::string spawnConfirmation;
    std::string meetingProcessId;
    std::string recordIntermediatePath;
    std::string ackNotificationName;
    std::string ackFromProcessId;
    std::string ackToProcessId;
};

/// The distributed notification center on the user's D-Bus session bus: every notification is one signal
/// `org.recordconverter.NotificationCenter.Posted(s name, s object, a{sv} userInfo)` at
/// `/org/recordconverter/NotificationCenter`. An empty object means none; an empty user info arrives as none.
///
/// Listens from its construction on: notifications that arrive before the first observer are kept and delivered, in
/// order, when the loop next runs after that observer was added. Without a session bus, and after losing it, observers
/// and posts do nothing; the system log reports this once. Created after the application object. Main thread.
class QtDistributedNotificationCenter final : public DistributedNotificationCenter {
public:
    enum class HandOver {
        done,          ///< the running converter has it: end this process
        becamePrimary  ///< no converter is left, and this process now owns the name: continue
    };

    QtDistributedNotificationCenter();
    ~QtDistributedNotificationCenter() override;

    void addObserver(const void* observer, const std::string& name, Callback callback) override;
    void removeObserver(const void* observer) override;
    void postNotification(const DistributedNotification& notification) override;

    /// Stops all deliveries for good. A process that is about to end must not accept what it can no longer do: a launch
    /// that gets no acknowledgement from it takes its place.
    void stopDelivering();

    /// Returns once the bus has accepted everything that was posted, or after one second.
    void flush();

    /// Runs `then` from the event loop once everything that other processes had sent before this call has been
    /// delivered. If there is no bus, or it does not answer within five seconds, runs `then` without that.
    void afterDelivery(std::function<void()> then);

    /// Runs `work` later, on the thread on which Qt reads from all buses of this process. Never runs it if there is no
    /// bus.
    void runOnBusThread(std::function<void()> work);

    /// Takes `busName` for this process, or leaves it to the process that owns it. True if this process owns it, or if
    /// there is no bus.
    bool acquireName(const std::string& busName);

    /// Passes the launch arguments of this process to the owner of `busName`: posts the recording-started notification
    /// if `meetingProcessId` is not 0 (without a path if `path` is absent), waits up to 5 s for its acknowledgement,
    /// then posts the spawn confirmation on behalf of the owner and flushes the bus. If the owner leaves the bus before
    /// it has acknowledged, this process takes its place. If it stays silent, the notification is assumed to wait in
    /// its queue, and the system log reports this. `extras` is added to the notification.
    HandOver handOver(const std::string& busName, const LaunchVocabulary& words, std::int32_t meetingProcessId,
                      const std::optional<std::string>& path, const UserInfo& extras = {});

private:
    class Bus;
    const std::unique_ptr<Bus> bus_;
};

}  // namespace platform::qt
