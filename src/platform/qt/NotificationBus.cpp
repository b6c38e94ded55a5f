#include "platform/qt/NotificationBus.h"

#include "platform/SystemLog.h"
#include "platform/qt/BusValues.h"
#include "platform/qt/NotificationAddress.h"
#include "platform/qt/SessionBus.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QMetaObject>

namespace platform::qt {

namespace {

const auto kBus = QStringLiteral("org.freedesktop.DBus");
const auto kBusPath = QStringLiteral("/org/freedesktop/DBus");

// Milliseconds.
constexpr int kFlushPatience = 1000;
constexpr int kDeliveryPatience = 5000;

QDBusMessage roundTrip() {
    return QDBusMessage::createMethodCall(kBus, kBusPath, kBus, QStringLiteral("GetId"));
}

void sayThatThereIsNoBus(const QString& reason) {
    SystemLog::standard().write("no session bus (" + reason.toStdString() +
                                "): notifications of meeting clients can be neither received nor acknowledged; the "
                                "command line and the exit watch "
                                "still work");
}

DistributedNotification notificationOf(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    DistributedNotification notification;
    notification.name = arguments.at(0).toString().toStdString();
    if (const auto object = arguments.at(1).toString(); !object.isEmpty()) {
        notification.object = object.toStdString();
    }
    const auto values = qdbus_cast<QVariantMap>(arguments.at(2));
    if (!values.isEmpty()) {
        notification.userInfo = userInfo(values);
    }
    return notification;
}

}  // namespace

NotificationBus::NotificationBus()
    : connection_(QDBusConnection::SessionBus, QStringLiteral("record-converter notifications")) {
    if (connection_.isConnected()) {
        listen();
    } else {
        sayThatThereIsNoBus(hasSessionBusAddress() ? connection_.bus().lastError().message()
                                                   : QStringLiteral("the environment names none"));
    }
}

void NotificationBus::runOnBusThread(std::function<void()> work) {
    // Qt's own object for calls to the bus belongs to that thread. A connection that was refused has one, too.
    if (!ownAddress().isEmpty()) {
        QMetaObject::invokeMethod(connection_.bus().interface(), std::move(work), Qt::QueuedConnection);
    }
}

void NotificationBus::listen() {
    // The bus processes a connection's messages in order, so these are in effect before any later call is answered.
    connection_.bus().connect({}, notificationPath, notificationInterface, notificationSignal,
                              QStringLiteral("ssa{sv}"), this, SLOT(onPosted(QDBusMessage)));
    connection_.bus().connect({}, QStringLiteral("/org/freedesktop/DBus/Local"),
                              QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                              SLOT(onDisconnected()));
}

bool NotificationBus::isConnected() const {
    return connection_.isConnected();
}

QString NotificationBus::ownAddress() const {
    return connection_.bus().baseService();
}

void NotificationBus::send(const DistributedNotification& notification) {
    if (!isConnected()) {
        return;
    }
    auto signal = QDBusMessage::createSignal(notificationPath, notificationInterface, notificationSignal);
    signal << QString::fromStdString(notification.name) << QString::fromStdString(notification.object.value_or(""))
           << busValues(notification.userInfo.value_or(UserInfo()));
    connection_.bus().send(signal);
}

void NotificationBus::flush() {
    if (isConnected()) {
        connection_.bus().call(roundTrip(), QDBus::Block, kFlushPatience);
    }
}

void NotificationBus::afterDelivery(std::function<void()> then) {
    if (!isConnected()) {
        QMetaObject::invokeMethod(this, std::move(then), Qt::QueuedConnection);
        return;
    }
    awaiting_.push_back(std::move(then));
    if (!isAsking_) {
        askForDelivery();
    }
}

void NotificationBus::askForDelivery() {
    isAsking_ = true;
    // Signals and replies reach this thread in the order in which the bus has sent them. Calls that come meanwhile need
    // the next round trip, and share it.
    auto* const answer = new QDBusPendingCallWatcher(connection_.bus().asyncCall(roundTrip(), kDeliveryPatience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, asked = std::exchange(awaiting_, {})] {
        answer->deleteLater();
        isAsking_ = false;
        if (!awaiting_.empty()) {
            askForDelivery();
        }
        for (const auto& then : asked) {
            then();
        }
    });
}

bool NotificationBus::acquireName(const QString& busName) {
    if (!isConnected()) {
        return true;
    }
    if (watchedName_ != busName) {
        // Only for this name: the changes of all other names would wake this process for nothing.
        watchedName_ = busName;
        connection_.bus().connect(kBus, kBusPath, kBus, QStringLiteral("NameOwnerChanged"), {busName},
                                  QStringLiteral("sss"), this, SLOT(onNameOwnerChanged(QString, QString, QString)));
    }
    const auto reply = connection_.bus().interface()->registerService(
        busName, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid()) {
        SystemLog::standard().write("the session bus refuses the name " + busName.toStdString() + ": " +
                                    reply.error().message().toStdString());
        return true;
    }
    return reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

QString NotificationBus::holderOf(const QString& busName) const {
    return isConnected() ? connection_.bus().interface()->serviceOwner(busName).value() : QString();
}

std::optional<std::int32_t> NotificationBus::processIdOf(const QString& address) const {
    if (!isConnected()) {
        return std::nullopt;
    }
    const QDBusReply<uint> reply = connection_.bus().interface()->servicePid(address);
    return reply.isValid() ? std::optional(static_cast<std::int32_t>(reply.value())) : std::nullopt;
}

void NotificationBus::onPosted(const QDBusMessage& message) {
    if (posted_) {
        posted_(notificationOf(message), message.service());
    }
}

void NotificationBus::onNameOwnerChanged(const QString& busName, const QString& oldOwner, const QString& newOwner) {
    if (ownerChanged_) {
        ownerChanged_(busName, oldOwner, newOwner);
    }
}

void NotificationBus::onDisconnected() {
    sayThatThereIsNoBus(QStringLiteral("it has gone"));
    if (ownerChanged_) {
        ownerChanged_({}, {}, {});
    }
}

}  // namespace platform::qt
