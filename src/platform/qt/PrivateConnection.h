#pragma once

#include <QDBusConnection>
#include <QString>

namespace platform::qt {

/// A connection to a bus for one purpose, closed with the object: whatever the bus's services have granted to it ends
/// then. Not connected where there is no such bus. Main thread.
class PrivateConnection final {
public:
    /// `purpose` tells it from the process's other connections.
    PrivateConnection(QDBusConnection::BusType bus, const QString& purpose);
    ~PrivateConnection();

    PrivateConnection(const PrivateConnection&) = delete;
    PrivateConnection& operator=(const PrivateConnection&) = delete;

    bool isConnected() const { return connection_.isConnected(); }
    const QDBusConnection& bus() const { return connection_; }

private:
    QDBusConnection connection_;
};

}  // namespace platform::qt
