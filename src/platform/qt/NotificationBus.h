#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace platform::qt {

/// A connection of its own to the session bus that hears and sends the notification signal and knows who holds a name.
/// Main thread.
class NotificationBus final : public QObject {
    Q_OBJECT

public:
    using PostedHandler = std::function<void(const DistributedNotification&, const QString& sender)>;
    using OwnerHandler = std::function<void(const QString& busName, const QString& oldOwner, const QString& newOwner)>;

    /// Connects, and listens before it returns. Says in the system log when there is no bus.
    NotificationBus();
    ~NotificationBus() override;

    bool isConnected() const;

    /// This process's own address on the bus.
    QString ownAddress() const;

    /// Called for each notification on the bus, in order, from the event loop.
    void setPostedHandler(PostedHandler handler) { posted_ = std::move(handler); }

    /// Called when the name that was last asked for changes hands (an empty address: nobody's), or with three empty
    /// texts when the bus is gone.
    void setOwnerHandler(OwnerHandler handler) { ownerChanged_ = std::move(handler); }

    void send(const DistributedNotification& notification);

    /// Returns once the bus has taken everything that was sent; after a second at the latest.
    void flush();

    /// Runs `then` from the event loop once everything that is on the bus now has been delivered here: after one round
    /// trip. Where there is no bus, or it does not answer within five seconds, without that.
    void afterDelivery(std::function<void()> then);

    /// False only when another process holds the name.
    bool acquireName(const QString& busName);

    /// The address of the name's holder; empty when there is none.
    QString holderOf(const QString& busName) const;

    /// Runs `work` later, on the thread on which Qt reads from all of this process's buses. Never where there is no
    /// bus.
    void runOnBusThread(std::function<void()> work);

    /// The process behind an address; absent when it has left the bus.
    std::optional<std::int32_t> processIdOf(const QString& address) const;

private:
    Q_SLOT void onPosted(const QDBusMessage& message);
    Q_SLOT void onNameOwnerChanged(const QString& busName, const QString& oldOwner, const QString& newOwner);
    Q_SLOT void onDisconnected();

    void listen();
    void askForDelivery();

    const QString connectionName_;
    std::optional<QDBusConnection> connection_;
    QString watchedName_;
    /// What waits for the next round trip, in order.
    std::vector<std::function<void()>> awaiting_;
    bool isAsking_ = false;
    PostedHandler posted_;
    OwnerHandler ownerChanged_;
};

}  // namespace platform::qt
