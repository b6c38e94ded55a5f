#include "uilib/qt/LoginSession.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <utility>

namespace uilib::qt {

namespace {

const auto kManager = QStringLiteral("org.freedesktop.login1");
const auto kManagerPath = QStringLiteral("/org/freedesktop/login1");
const auto kManagerInterface = QStringLiteral("org.freedesktop.login1.Manager");
const auto kSessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const auto kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

// The caller's session, or that of the caller's user if the caller belongs to none, as a user service does.
const auto kOwnSession = QStringLiteral("auto");

}  // namespace

LoginSession::LoginSession(std::function<void(bool)> changed)
    : changed_(std::move(changed)),
      connection_(QDBusConnection::SystemBus, QStringLiteral("record-converter session")),
      managerWatch_(kManager, connection_.bus(), QDBusServiceWatcher::WatchForUnregistration) {
    if (!connection_.isConnected()) {
        return;
    }
    connect(&managerWatch_, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        apply({{QStringLiteral("LockedHint"), false}, {QStringLiteral("IdleHint"), false}});
    });
    auto question =
        QDBusMessage::createMethodCall(kManager, kManagerPath, kManagerInterface, QStringLiteral("GetSession"));
    question << kOwnSession;
    connection_.ask<QDBusObjectPath>(*this, question, [this](const QDBusObjectPath& path) { ask(path.path()); });
}

void LoginSession::ask(const QString& path) {
    connection_.bus().connect(kManager, path, kProperties, QStringLiteral("PropertiesChanged"), this,
                              SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    auto question = QDBusMessage::createMethodCall(kManager, path, kProperties, QStringLiteral("GetAll"));
    question << kSessionInterface;
    connection_.ask<QVariantMap>(*this, question, [this](const QVariantMap& properties) {
        // For a text session the manager computes idleness but never announces it.
        const auto type = properties.value(QStringLiteral("Type")).toString();
        isGraphical_ = type == QLatin1String("x11") || type == QLatin1String("wayland");
        apply(properties);
    });
}

void LoginSession::onPropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList&) {
    if (interface == kSessionInterface) {
        apply(changed);
    }
}

void LoginSession::apply(const QVariantMap& properties) {
    if (!isGraphical_) {
        return;
    }
    isLocked_ = properties.value(QStringLiteral("LockedHint"), isLocked_).toBool();
    isIdle_ = properties.value(QStringLiteral("IdleHint"), isIdle_).toBool();
    changed_(isLocked_ || isIdle_);
}

}  // namespace uilib::qt
