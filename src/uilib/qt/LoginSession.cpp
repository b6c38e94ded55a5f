#include "uilib/qt/LoginSession.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <utility>

namespace uilib::qt {

namespace {

const auto managerName = QStringLiteral("org.freedesktop.login1");
const auto managerPath = QStringLiteral("/org/freedesktop/login1");
const auto managerInterface = QStringLiteral("org.freedesktop.login1.Manager");
const auto sessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const auto propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

// The caller's session, or that of the caller's user if the caller belongs to none, as a user service does.
const auto ownSession = QStringLiteral("auto");

}  // namespace

LoginSession::LoginSession(std::function<void(bool)> changed)
    : changed_(std::move(changed)),
      connection_(QDBusConnection::SystemBus, QStringLiteral("record-converter session")),
      managerWatch_(managerName, connection_.bus(), QDBusServiceWatcher::WatchForUnregistration) {
    if (!connection_.isConnected()) {
        return;
    }
    connect(&managerWatch_, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        apply({{QStringLiteral("LockedHint"), false}, {QStringLiteral("IdleHint"), false}});
    });
    auto question =
        QDBusMessage::createMethodCall(managerName, managerPath, managerInterface, QStringLiteral("GetSession"));
    question << ownSession;
    connection_.ask<QDBusObjectPath>(*this, question, [this](const QDBusObjectPath& path) { ask(path.path()); });
}

void LoginSession::ask(const QString& path) {
    connection_.bus().connect(managerName, path, propertiesInterface, QStringLiteral("PropertiesChanged"), this,
                              SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
    auto question = QDBusMessage::createMethodCall(managerName, path, propertiesInterface, QStringLiteral("GetAll"));
    question << sessionInterface;
    connection_.ask<QVariantMap>(*this, question, [this](const QVariantMap& properties) {
        // For a text session the manager computes idleness but never announces it.
        const auto type = properties.value(QStringLiteral("Type")).toString();
        isGraphical_ = type == QLatin1String("x11") || type == QLatin1String("wayland");
        apply(properties);
    });
}

void LoginSession::onPropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList&) {
    if (interface == sessionInterface) {
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
