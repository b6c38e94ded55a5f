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

/// Hears what meeting clients say, as they say it: an id may be 0 or negative, a path absent, empty or of no file.
/// Main thread.
class KTRAppInletDelegate {
public:
    virtual ~KTRAppInletDelegate() = default;

    virtual void
    appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(KTRAppInlet&, std::int32_t /*processId*/,
                                                                      const std::optional<std::string>& /*path*/) {}
    virtual void appInletSeesMeetingRecordStopedInProcess(KTRAppInlet&, std::int32_t /*processId*/) {}
    virtual void appInletSeesMeetingQuitFromProcess(KTRAppInlet&, std::int32_t /*processId*/) {}
};

/// The ear towards the meeting clients: acknowledges each of their notifications, then tells its delegate. Owned by
/// the application delegate, reports to the meeting pool. Main thread.
class KTRAppInlet {
public:
    /// Listens from here on.
    KTRAppInlet(platform::DistributedNotificationCenter& center,
                const platform::ProcessInformation& processInformation);
    ~KTRAppInlet();

    KTRAppInlet(const KTRAppInlet&) = delete;
    KTRAppInlet& operator=(const KTRAppInlet&) = delete;

    std::shared_ptr<KTRAppInletDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<KTRAppInletDelegate>& delegate) { delegate_ = delegate; }

    /// Registers for the three incoming names, from any sender. Twice would make everything arrive twice.
    void listenToOutside();
    /// No notification arrives any more.
    void turnDeafEar();

    void onExternalNotification(const platform::DistributedNotification& notification);

    /// Posts the acknowledgement; nothing without a process id to answer to.
    void ackNotification(const platform::DistributedNotification& notification);

private:
    platform::DistributedNotificationCenter& center_;
    const platform::ProcessInformation& processInformation_;
    std::weak_ptr<KTRAppInletDelegate> delegate_;
};
