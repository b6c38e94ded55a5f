#include "uilib/qt/ScreenWatch.h"

#include <QDBusMessage>
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
    connect(&saverWatch_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { onSaverActiveChanged(false); });
    for (const auto& saver : savers()) {
        saverWatch_.addWatchedService(saver.service);
        connection_.bus().connect(saver.service, saver.path, saver.service, QStringLiteral("ActiveChanged"), this,
                                  SLOT(onSaverActiveChanged(bool)));
        askSaver(saver.service, saver.path);
    }
}

void ScreenWatch::askSaver(const QString& service, const QString& path) {
    const auto question = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("GetActive"));
    connection_.ask<bool>(*this, question, [this](bool isActive) {
        // If one of the two is inactive, the other may still be active.
        if (isActive) {
            onSaverActiveChanged(true);
        }
    });
}

void ScreenWatch::onSaverActiveChanged(bool isActive) {
    isSaverActive_ = isActive;
    notifyChange();
}

void ScreenWatch::notifyChange() {
    const bool isVisible = !isSaverActive_ && !isUserAway_;
    if (std::exchange(isVisible_, isVisible) != isVisible) {
        changed_(isVisible);
    }
}

}  // namespace uilib::qt
