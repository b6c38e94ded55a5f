#include "uilib/qt/LoginSession.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <utility>

namespace uilib::qt {

namespace {

const auto kManager = QStringLiteral("org.freedesktop.login1");
const auto kManagerPath = QStringLiteral("/org/freedesktop/login1");
const auto kManagerInterface = QStringLiteral("org.freedesktop.login1.Manager");
const auto kSessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const auto kProperties = QStringLiteral("org.freedesktop.DBus.Properties");
const auto kConnectionName = QStringLiteral("record-converter session");

// The session of the caller, or of the caller's user where the caller belongs to none: a service of the user does not.
const auto kOwnSession = QStringLiteral("auto");

QDBusMessage callNamed(const QString& path, const QString& interface, const QString& method) {
    auto call = QDBusMessage::createMethodCall(kManager, path, interface, method);
    call.setAutoStartService(false);
    return call;
}

}  // namespace

LoginSession::LoginSession(std::function<void(bool)> changed)
    : changed_(std::move(changed)),
      bus_(QDBusConnection::connectToBus(QDBusConnection::SystemBus, kConnectionName)),
      managerWatch_(kManager, bus_, QDBusServiceWatcher::WatchForUnregistration) {
    if (!bus_.isConnected()) {
        return;
    }
    connect(&managerWatch_, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        take({{QStringLiteral("LockedHint"), false}, {QStringLiteral("IdleHint"), false}});
    });
    auto question = callNamed(kManagerPath, kManagerInterface, QStringLiteral("GetSession"));
    question << kOwnSession;
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *answer;
        if (reply.isValid()) {
            ask(reply.value().path());
        }
    });
}

LoginSession::~LoginSession() {
    QDBusConnection::disconnectFromBus(kConnectionName);
}

void LoginSession::ask(const QString& path) {
    bus_.connect(kManager, path, kProperties, QStringLiteral("PropertiesChanged"), this,
                 SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    auto question = callNamed(path, kProperties, QStringLiteral("GetAll"));
    question << kSessionInterface;
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QVariantMap> reply = *answer;
        if (reply.isValid()) {
            // A text session's idleness is worked out by the manager and never announced.
            const auto type = reply.value().value(QStringLiteral("Type")).toString();
            isGraphical_ = type == QLatin1String("x11") || type == QLatin1String("wayland");
            take(reply.value());
        }
    });
}

void LoginSession::onPropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList&) {
    if (interface == kSessionInterface) {
        take(changed);
    }
}

void LoginSession::take(const QVariantMap& properties) {
    if (!isGraphical_) {
        return;
    }
    isLocked_ = properties.value(QStringLiteral("LockedHint"), isLocked_).toBool();
    isIdle_ = properties.value(QStringLiteral("IdleHint"), isIdle_).toBool();
    changed_(isLocked_ || isIdle_);
}

}  // namespace uilib::qt
