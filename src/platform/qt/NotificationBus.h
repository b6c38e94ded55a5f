#pragma once

#include "platform/InstanceBus.h"
#include "platform/qt/PrivateConnection.h"

#include <QDBusMessage>
#include <QEventLoop>
#include <QObject>
#include <QString>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace platform::qt {

/// A private connection to the session bus that sends and receives the notification signal and knows the owner of a
/// name. Main thread.
class NotificationBus final : public QObject, public InstanceBus {
    Q_OBJECT

public:
    using PostedHandler = std::function<void(const DistributedNotification&)>;

    /// Connects, and listens before it returns. Writes to the system log if there is no bus.
    NotificationBus();

    /// Called for each notification on the bus, in order, from the event loop, after the listener.
    void setPostedHandler(PostedHandler handler) { posted_ = std::move(handler); }

    /// Posts to every process, this one included.
    void post(const DistributedNotification& notification);

    /// Runs `then` from the event loop once everything that is on the bus now has been delivered here, after one round
    /// trip. If there is no bus, or it does not answer within five seconds, runs `then` without that.
    void afterDelivery(std::function<void()> then);

    /// Runs `work` later, on the thread on which Qt reads from all buses of this process. Never runs it if there is no
    /// bus.
    void runOnBusThread(std::function<void()> work);

    void setListener(Listener* listener) override { listener_ = listener; }
    bool acquireName(const std::string& busName) override;
    std::string ownerOf(const std::string& busName) const override;
    std::optional<std::int32_t> processIdOf(const std::string& address) const override;
    void postToOthers(const DistributedNotification& notification) override;
    void flush() override;
    void wait(std::chrono::milliseconds limit) override;
    void stopWaiting() override { waiting_.quit(); }

private:
    Q_SLOT void onPosted(const QDBusMessage& message);
    Q_SLOT void onNameOwnerChanged(const QString& busName, const QString& oldOwner, const QString& newOwner);
    Q_SLOT void onDisconnected();

    void listen();
    bool isConnected() const { return connection_.isConnected(); }
    void askForDelivery();

    PrivateConnection connection_;
    QString watchedName_;
    /// What waits for the next round trip, in order.
    std::vector<std::function<void()>> awaiting_;
    bool isAsking_ = false;
    PostedHandler posted_;
    Listener* listener_ = nullptr;
    /// Names of notifications that are not received from this process itself.
    std::set<std::string> forOthers_;
    QEventLoop waiting_;
};

}  // namespace platform::qt
