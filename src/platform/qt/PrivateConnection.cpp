#include "platform/qt/PrivateConnection.h"

#include "platform/qt/SessionBus.h"

namespace platform::qt {

namespace {

// Two connections with one name would be the same connection.
QDBusConnection newConnection(QDBusConnection::BusType bus, const QString& purpose) {
    static int count = 0;
    const QString name = QStringLiteral("%1 %2").arg(purpose).arg(++count);
    if (bus == QDBusConnection::SessionBus && !hasSessionBusAddress()) {
        return QDBusConnection(name);
    }
    return QDBusConnection::connectToBus(bus, name);
}

}  // namespace

PrivateConnection::PrivateConnection(QDBusConnection::BusType bus, const QString& purpose)
    : connection_(newConnection(bus, purpose)) {}

PrivateConnection::~PrivateConnection() {
    const QString name = connection_.name();
    connection_ = QDBusConnection(QString());
    QDBusConnection::disconnectFromBus(name);
}

}  // namespace platform::qt
