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
#include <QTimer>

namespace platform::qt {

namespace {

const auto busService = QStringLiteral("org.freedesktop.DBus");
const auto busServicePath = QStringLiteral("/org/freedesktop/DBus");

// Milliseconds.
constexpr int flushPatience = 1000;
constexpr int deliveryPatience = 5000;

QDBusMessage roundTrip() {
    return QDBusMessage::createMethodCall(busService, busServicePath, busService, QStringLiteral("GetId"));
}

void sayThatThereIsNoBus(const QString& reason) {
    SystemLog::standard().write("no session bus (" + reason.toStdString() +
                                    "): notifications of meeting clients can be neither received nor acknowledged; the "
                                    "command line and the exit watch still work",
                                Severity::warning);
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
    if (!connection_.bus().baseService().isEmpty()) {
        QMetaObject::invokeMethod(connection_.bus().interface(), std::move(work), Qt::QueuedConnection);
    }
}

void NotificationBus::listen() {
    // The bus processes a connection's messages in order, so these are in effect before any later call is answered.
    connection_.bus().connect({}, notificationPath, notificationInterface, notificationSignal, QString(), this,
                              SLOT(onPosted(QDBusMessage)));
    connection_.bus().connect({}, QStringLiteral("/org/freedesktop/DBus/Local"),
                              QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                              SLOT(onDisconnected()));
}

void NotificationBus::post(const DistributedNotification& notification) {
    if (!isConnected()) {
        return;
    }
    auto signal = QDBusMessage::createSignal(notificationPath, notificationInterface, notificationSignal);
    signal << QString::fromStdString(notification.name) << QString::fromStdString(notification.object.value_or(""))
           << busValues(notification.userInfo.value_or(UserInfo()));
    connection_.bus().send(signal);
}

void NotificationBus::postToOthers(const DistributedNotification& notification) {
    forOthers_.insert(notification.name);
    post(notification);
}

void NotificationBus::flush() {
    if (isConnected()) {
        connection_.bus().call(roundTrip(), QDBus::Block, flushPatience);
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
    auto* const answer = new QDBusPendingCallWatcher(connection_.bus().asyncCall(roundTrip(), deliveryPatience), this);
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

bool NotificationBus::acquireName(const std::string& busName) {
    if (!isConnected()) {
        return true;
    }
    const auto name = QString::fromStdString(busName);
    if (watchedName_ != name) {
        // Only for this name: the changes of all other names would wake this process for nothing.
        watchedName_ = name;
        connection_.bus().connect(busService, busServicePath, busService, QStringLiteral("NameOwnerChanged"), {name},
                                  QStringLiteral("sss"), this, SLOT(onNameOwnerChanged(QString, QString, QString)));
    }
    const auto reply = connection_.bus().interface()->registerService(name, QDBusConnectionInterface::DontQueueService,
                                                                      QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid()) {
        SystemLog::standard().write("the session bus refuses the name " + busName + ": " +
                                        reply.error().message().toStdString(),
                                    Severity::warning);
        return true;
    }
    return reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

std::string NotificationBus::ownerOf(const std::string& busName) const {
    if (!isConnected()) {
        return {};
    }
    return connection_.bus().interface()->serviceOwner(QString::fromStdString(busName)).value().toStdString();
}

std::optional<std::int32_t> NotificationBus::processIdOf(const std::string& address) const {
    if (!isConnected()) {
        return std::nullopt;
    }
    const QDBusReply<uint> reply = connection_.bus().interface()->servicePid(QString::fromStdString(address));
    return reply.isValid() ? std::optional(static_cast<std::int32_t>(reply.value())) : std::nullopt;
}

void NotificationBus::wait(std::chrono::milliseconds limit) {
    QTimer patience;
    patience.setSingleShot(true);
    connect(&patience, &QTimer::timeout, &waiting_, &QEventLoop::quit);
    patience.start(limit);
    waiting_.exec();
}

void NotificationBus::onPosted(const QDBusMessage& message) {
    if (message.signature() != QLatin1String("ssa{sv}")) {
        if (listener_ != nullptr) {
            listener_->malformedArrived(message.signature().toStdString(), message.service().toStdString());
        }
        return;
    }
    const auto notification = notificationOf(message);
    if (listener_ != nullptr) {
        listener_->notificationArrived(notification, message.service().toStdString());
    }
    // What this process posts to others comes back like every broadcast, perhaps after it has become the one that
    // converts. The launch arguments announce the same recording, so this would start it twice.
    if (message.service() == connection_.bus().baseService() && forOthers_.contains(notification.name)) {
        return;
    }
    if (posted_) {
        posted_(notification);
    }
}

void NotificationBus::onNameOwnerChanged(const QString& busName, const QString& oldOwner, const QString&) {
    if (listener_ != nullptr) {
        listener_->ownerLeft(busName.toStdString(), oldOwner.toStdString());
    }
}

void NotificationBus::onDisconnected() {
    sayThatThereIsNoBus(QStringLiteral("it has gone"));
    if (listener_ != nullptr) {
        listener_->busLost();
    }
}

}  // namespace platform::qt
