#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform::qt {

/// What a second launch needs to speak the meeting clients' language: notification names, then user-info keys.
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
/// Listens from its construction on: what arrives before the first observer is kept and delivered, in order, once the
/// loop turns after that observer has come. Without a session bus, and after it has gone, the system log hears so
/// once, and observers and posts do nothing. Made when the application object exists. Main thread.
class QtDistributedNotificationCenter final : public DistributedNotificationCenter {
public:
    enum class HandOver {
        done,          ///< the running converter has it: end this process
        becamePrimary  ///< there is none any more, and this process now holds the name: go on
    };

    QtDistributedNotificationCenter();
    ~QtDistributedNotificationCenter() override;

    void addObserver(const void* observer, const std::string& name, Callback callback) override;
    void removeObserver(const void* observer) override;
    void postNotification(const DistributedNotification& notification) override;

    /// Delivers nothing more, for good. A process that is about to end must not accept what it can't do any more: a
    /// launch that gets no answer from it takes its place.
    void stopDelivering();

    /// Returns once the bus has taken everything that was posted; after a second at the latest.
    void flush();

    /// Runs `then` from the event loop once everything that other processes had sent before this call has been
    /// delivered. Where there is no bus, or it does not answer within five seconds, without that.
    void afterDelivery(std::function<void()> then);

    /// Runs `work` later, on the thread on which Qt reads from all of this process's buses. Never where there is no
    /// bus.
    void runOnBusThread(std::function<void()> work);

    /// Takes `busName` for this process, or leaves it to the process that holds it. True when this process holds it,
    /// and where there is no bus that could know better.
    bool acquireName(const std::string& busName);

    /// Gives the launch arguments of this process to the running holder of `busName`: posts the recording-started
    /// notification when `meetingProcessId` is not 0 (without a path when `path` is absent) and waits up to 5 s for its
    /// acknowledgement, then posts the spawn confirmation in the holder's name and flushes the bus. A holder that
    /// leaves the bus before it has acknowledged is replaced by this process. One that stays silent is trusted to find
    /// the notification in its queue; the system log hears so.
    /// `extras` goes along with the notification.
    HandOver handOver(const std::string& busName, const LaunchVocabulary& words, std::int32_t meetingProcessId,
                      const std::optional<std::string>& path, const UserInfo& extras = {});

private:
    class Bus;
    const std::unique_ptr<Bus> bus_;
};

}  // namespace platform::qt
