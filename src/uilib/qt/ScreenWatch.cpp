#include "uilib/qt/ScreenWatch.h"

#include <array>
#include <utility>

namespace uilib::qt {

namespace {

struct Saver {
    QString service;
    QString path;
};

// The common interface, and the one of a large desktop that has its own.
const std::array<Saver, 2>& savers() {
    static const std::array<Saver, 2> known{
        Saver{QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("/org/freedesktop/ScreenSaver")},
        Saver{QStringLiteral("org.gnome.ScreenSaver"), QStringLiteral("/org/gnome/ScreenSaver")}};
    return known;
}

}  // namespace

ScreenWatch::ScreenWatch(std::function<void(bool)> changed)
    : changed_(std::move(changed)),
      connection_(QDBusConnection::SessionBus, QStringLiteral("record-converter screen")),
      session_([this](bool isAway) {
          isUserAway_ = isAway;
          notifyChange();
      }) {
    if (!connection_.isConnected()) {
        return;
    }
    saverWatch_.setConnection(connection_.bus());
    saverWatch_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    // A saver that has died covers nothing any more.
    connect(&saverWatch_, &QDBusServiceWatcher::serviceUnregistered, this,
            [this](const QString& service) { setSaverActive(service, false); });
    for (const auto& saver : savers()) {
        saverWatch_.addWatchedService(saver.service);
        connection_.bus().connect(saver.service, saver.path, saver.service, QStringLiteral("ActiveChanged"), this,
                                  SLOT(onSaverActiveChanged(bool, QDBusMessage)));
        askSaver(saver.service, saver.path);
    }
}

void ScreenWatch::askSaver(const QString& service, const QString& path) {
    const auto question = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("GetActive"));
    connection_.ask<bool>(*this, question, [this, service](bool isActive) { setSaverActive(service, isActive); });
}

void ScreenWatch::onSaverActiveChanged(bool isActive, const QDBusMessage& message) {
    setSaverActive(message.interface(), isActive);
}

void ScreenWatch::setSaverActive(const QString& interface, bool isActive) {
    if (isActive) {
        activeSavers_.insert(interface);
    } else {
        activeSavers_.erase(interface);
    }
    notifyChange();
}

void ScreenWatch::notifyChange() {
    const bool isVisible = activeSavers_.empty() && !isUserAway_;
    if (std::exchange(isVisible_, isVisible) != isVisible) {
        changed_(isVisible);
    }
}

}  // namespace uilib::qt
