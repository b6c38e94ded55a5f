#pragma once

#include "platform/DistributedNotificationCenter.h"
#include "platform/qt/PrivateConnection.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace platform::qt {

/// A private connection to the session bus that sends and receives the notification signal and knows the owner of a
/// name. Main thread.
class NotificationBus final : public QObject {
    Q_OBJECT

public:
    using PostedHandler = std::function<void(const DistributedNotification&, const QString& sender)>;
    using OwnerHandler = std::function<void(const QString& busName, const QString& oldOwner, const QString& newOwner)>;

    /// Connects, and listens before it returns. Writes to the system log if there is no bus.
    NotificationBus();

    bool isConnected() const;

    /// This process's own address on the bus.
    QString ownAddress() const;

    /// Called for each notification on the bus, in order, from the event loop.
    void setPostedHandler(PostedHandler handler) { posted_ = std::move(handler); }

    /// Called when the last name asked for changes its owner (an empty address means none), or with three empty texts
    /// when the bus is lost.
    void setOwnerHandler(OwnerHandler handler) { ownerChanged_ = std::move(handler); }

    void send(const DistributedNotification& notification);

    /// Returns once the bus has accepted everything that was sent, or after one second.
    void flush();

    /// Runs `then` from the event loop once everything that is on the bus now has been delivered here, after one round
    /// trip. If there is no bus, or it does not answer within five seconds, runs `then` without that.
    void afterDelivery(std::function<void()> then);

    /// False only if another process owns the name.
    bool acquireName(const QString& busName);

    /// The address of the name's owner; empty if there is none.
    QString holderOf(const QString& busName) const;

    /// Runs `work` later, on the thread on which Qt reads from all buses of this process. Never runs it if there is no
    /// bus.
    void runOnBusThread(std::function<void()> work);

    /// The id of the process with this address; absent if it has left the bus.
    std::optional<std::int32_t> processIdOf(const QString& address) const;

private:
    Q_SLOT void onPosted(const QDBusMessage& message);
    Q_SLOT void onNameOwnerChanged(const QString& busName, const QString& oldOwner, const QString& newOwner);
    Q_SLOT void onDisconnected();

    void listen();
    void askForDelivery();

    PrivateConnection connection_;
    QString watchedName_;
    /// What waits for the next round trip, in order.
    std::vector<std::function<void()>> awaiting_;
    bool isAsking_ = false;
    PostedHandler posted_;
    OwnerHandler ownerChanged_;
};

}  // namespace platform::qt
