#include "BusClient.h"

#include "platform/qt/NotificationAddress.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace bench {

using platform::qt::notificationInterface;
using platform::qt::notificationPath;
using platform::qt::notificationSignal;

BusClient::BusClient(int senders) {
    for (int i = 0; i < senders; ++i) {
        connections_.push_back(
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("client-%1").arg(i)));
    }
    listen();
}

BusClient::BusClient(const QString& address)
    : connections_{QDBusConnection::connectToBus(address, QStringLiteral("client-at-") + address)} {
    listen();
}

void BusClient::listen() {
    connections_.front().connect(QString(), notificationPath, notificationInterface, notificationSignal, this,
                                 SLOT(hear(QDBusMessage)));
}

BusClient::~BusClient() {
    for (const auto& connection : connections_) {
        QDBusConnection::disconnectFromBus(connection.name());
    }
}

void BusClient::post(const QString& name, int meetingProcessId, int sender, const QString& intermediatePath) {
    auto signal = QDBusMessage::createSignal(notificationPath, notificationInterface, notificationSignal);
    QVariantMap userInfo = {{QStringLiteral("kMeetingRecordNotificationKey_MeetingProcessId"), meetingProcessId}};
    if (!intermediatePath.isEmpty()) {
        userInfo.insert(QStringLiteral("kMeetingRecordNotificationKey_RecordIntermediatePath"), intermediatePath);
    }
    signal << name << QString() << userInfo;
    connections_.at(static_cast<std::size_t>(sender)).send(signal);
}

bool BusClient::waitUntil(const std::function<bool()>& condition, double seconds) {
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (static_cast<double>(clock.elapsed()) > seconds * 1000) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
    }
    return true;
}

void BusClient::hear(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    if (heard_) {
        heard_(arguments.value(0).toString(), qdbus_cast<QVariantMap>(arguments.value(2)));
    }
}

}  // namespace bench
