#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <vector>

namespace bench {

/// A meeting client on the bus: posts notifications and receives all of them, on the thread that created it.
class BusClient final : public QObject {
    Q_OBJECT

public:
    using Heard = std::function<void(const QString& name, const QVariantMap& userInfo)>;

    /// Opens `senders` connections to the user's bus to post from, each a separate sender.
    explicit BusClient(int senders = 1);

    /// One connection to the bus at this address.
    explicit BusClient(const QString& address);
    ~BusClient() override;

    /// Sets the receiver of the notifications.
    void setHeard(Heard heard) { heard_ = std::move(heard); }

    void post(const QString& name, int meetingProcessId, int sender = 0, const QString& intermediatePath = {});

    /// Runs the event loop until `condition` is true; false if `seconds` pass first.
    static bool waitUntil(const std::function<bool()>& condition, double seconds);

private Q_SLOTS:
    void hear(const QDBusMessage& message);

private:
    void listen();

    std::vector<QDBusConnection> connections_;
    Heard heard_;
};

}  // namespace bench
