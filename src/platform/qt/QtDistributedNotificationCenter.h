#pragma once

#include "platform/DistributedNotificationCenter.h"
#include "platform/ObserverList.h"

#include <QObject>
#include <string>
#include <vector>

namespace platform::qt {

class NotificationBus;

/// The distributed notification center on the user's session bus; NotificationAddress.h describes the signal.
///
/// Notifications that arrive before the first observer are kept and delivered, in order, when the loop next runs after
/// that observer was added. Without a session bus, and after losing it, observers and posts do nothing. Main thread.
class QtDistributedNotificationCenter final : public DistributedNotificationCenter {
public:
    /// `bus` outlives this object, which takes its posted handler.
    explicit QtDistributedNotificationCenter(NotificationBus& bus);
    ~QtDistributedNotificationCenter() override;

    void addObserver(const void* observer, const std::string& name, Callback callback) override;
    void removeObserver(const void* observer) override;
    void postNotification(const DistributedNotification& notification) override;

    /// Stops all deliveries for good. A process that is about to end must not accept what it can no longer do: a launch
    /// that gets no acknowledgement from it takes its place.
    void stopDelivering();

private:
    void receive(const DistributedNotification& notification);
    void deliverKept();

    NotificationBus& bus_;
    ObserverList<DistributedNotification> observers_;
    std::vector<DistributedNotification> kept_;
    bool hasObservers_ = false;
    bool isDeliveringAtOnce_ = false;
    // Declared last: what it has queued ends with it.
    QObject queue_;
};

}  // namespace platform::qt
