#include "uilib/qt/ScreenWatch.h"

#include "platform/qt/SessionBus.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
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

QDBusConnection newConnection() {
    const auto name = QStringLiteral("record-converter screen");
    return platform::qt::hasSessionBusAddress() ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                                                : QDBusConnection(name);
}

}  // namespace

ScreenWatch::ScreenWatch(std::function<void(bool)> changed)
    : changed_(std::move(changed)), bus_(newConnection()), session_([this](bool isAway) {
          isUserAway_ = isAway;
          tellChange();
      }) {
    if (!bus_.isConnected()) {
        return;
    }
    saverWatch_.setConnection(bus_);
    saverWatch_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    // One that has died covers nothing any more.
    connect(&saverWatch_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { onSaverActiveChanged(false); });
    for (const auto& saver : savers()) {
        saverWatch_.addWatchedService(saver.service);
        bus_.connect(saver.service, saver.path, saver.service, QStringLiteral("ActiveChanged"), this,
                     SLOT(onSaverActiveChanged(bool)));
        askSaver(saver.service, saver.path);
    }
}

ScreenWatch::~ScreenWatch() {
    QDBusConnection::disconnectFromBus(bus_.name());
}

void ScreenWatch::askSaver(const QString& service, const QString& path) {
    auto question = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("GetActive"));
    question.setAutoStartService(false);
    auto* const answer = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<bool> reply = *answer;
        if (reply.isValid() && reply.value()) {
            onSaverActiveChanged(true);
        }
    });
}

void ScreenWatch::onSaverActiveChanged(bool isActive) {
    isSaverActive_ = isActive;
    tellChange();
}

void ScreenWatch::tellChange() {
    const bool isVisible = !isSaverActive_ && !isUserAway_;
    if (std::exchange(isVisible_, isVisible) != isVisible) {
        changed_(isVisible);
    }
}

}  // namespace uilib::qt
