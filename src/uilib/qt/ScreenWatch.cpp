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

ScreenWatch::ScreenWatch(std::function<void(bool)> changed) : changed_(std::move(changed)), bus_(newConnection()) {
    if (!bus_.isConnected()) {
        return;
    }
    for (const auto& saver : savers()) {
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
    if (std::exchange(isVisible_, !isActive) == isActive) {
        changed_(!isActive);
    }
}

}  // namespace uilib::qt
