#pragma once

#include "platform/qt/PrivateConnection.h"
#include "uilib/qt/LoginSession.h"

#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <functional>
#include <set>

namespace uilib::qt {

/// Whether the user can see the screen: false while a screen saver or lock covers it, or nobody is at it, as reported
/// by the desktop's screen saver and the login manager. Costs nothing between changes. Main thread.
class ScreenWatch final : public QObject {
    Q_OBJECT

public:
    /// `changed` is called with the new state, never from inside this call.
    explicit ScreenWatch(std::function<void(bool)> changed);

    bool isVisible() const { return isVisible_; }

private:
    Q_SLOT void onSaverActiveChanged(bool isActive, const QDBusMessage& message);

    void askSaver(const QString& service, const QString& path);
    void setSaverActive(const QString& interface, bool isActive);
    void notifyChange();

    const std::function<void(bool)> changed_;
    platform::qt::PrivateConnection connection_;
    QDBusServiceWatcher saverWatch_;
    /// By their interfaces, which have the names of their services.
    std::set<QString> activeSavers_;
    bool isUserAway_ = false;
    bool isVisible_ = true;
    LoginSession session_;
};

}  // namespace uilib::qt
