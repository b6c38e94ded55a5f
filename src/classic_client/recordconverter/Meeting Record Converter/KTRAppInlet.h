#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace platform {
class DistributedNotificationCenter;
class ProcessInformation;
struct DistributedNotification;
}  // namespace platform

class KTRAppInlet;

/// Receives the notifications of meeting clients, unvalidated: an id may be 0 or negative; a path may be absent, empty
/// or name no file. Main thread.
class KTRAppInletDelegate {
public:
    virtual ~KTRAppInletDelegate() = default;

    virtual void
    appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(KTRAppInlet&, std::int32_t /*processId*/,
                                                                      const std::optional<std::string>& /*path*/) {}
    virtual void appInletSeesMeetingRecordStopedInProcess(KTRAppInlet&, std::int32_t /*processId*/) {}
    virtual void appInletSeesMeetingQuitFromProcess(KTRAppInlet&, std::int32_t /*processId*/) {}
};

/// The inlet for the notifications of meeting clients: acknowledges each one, then calls its delegate. Owned by the
/// application delegate, reports to the meeting pool. Main thread.
class KTRAppInlet {
public:
    /// Starts listening at once.
    KTRAppInlet(platform::DistributedNotificationCenter& center,
                const platform::ProcessInformation& processInformation);
    ~KTRAppInlet();

    KTRAppInlet(const KTRAppInlet&) = delete;
    KTRAppInlet& operator=(const KTRAppInlet&) = delete;

    std::shared_ptr<KTRAppInletDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRAppInletDelegate>& delegate) { delegate_ = delegate; }

    /// Registers for the three incoming names, from any sender. A second call would deliver everything twice.
    void listenToOutside();
    /// Stops listening: no notification arrives after this.
    void turnDeafEar();

    void onExternalNotification(const platform::DistributedNotification& notification);

    /// Posts the acknowledgement; does nothing if the notification names no process to address it to.
    void ackNotification(const platform::DistributedNotification& notification);

private:
    platform::DistributedNotificationCenter& center_;
    const platform::ProcessInformation& processInformation_;
    std::weak_ptr<KTRAppInletDelegate> delegate_;
};
