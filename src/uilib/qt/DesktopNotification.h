#pragma once

#include "uilib/qt/BubbleContent.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <chrono>
#include <functional>

namespace uilib::qt {

/// One bubble's content as a notification of the desktop (org.freedesktop.Notifications). Main thread.
class DesktopNotification final : public QObject {
    Q_OBJECT

public:
    struct Handlers {
        /// The desktop shows the notification.
        std::function<void()> shown;
        /// No server shows it, for this reason; no other handler follows.
        std::function<void(const std::string& reason)> refused;
        /// The desktop holds notifications back because its user does not want to be disturbed (true), or no longer
        /// does (false), and then shows it again. Only on desktops that report this.
        std::function<void(bool)> heldBack;
        /// The desktop has closed it, or has disappeared itself; no other handler follows. Presses are reported before.
        std::function<void()> closed;
    };

    /// `time` is the time to show it. No handler is called from inside this or another call.
    DesktopNotification(BubbleContent content, std::chrono::milliseconds time, Handlers handlers);

    /// Removes it from the screen. No handler follows.
    void close();

    /// Releases it after its time: a desktop that keeps notifications for later still keeps it, without the buttons,
    /// which would have no effect. No handler follows.
    void leaveToDesktop();

private:
    Q_SLOT void onClosed(uint id, uint reason);
    Q_SLOT void onActivationToken(uint id, const QString& token);
    Q_SLOT void onActionInvoked(uint id, const QString& key);
    Q_SLOT void onServerGone();
    Q_SLOT void onPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                    const QStringList& invalidated);

    void listen();
    void ask();
    void notify();
    void onNumber(uint id);
    void askWhetherHeldBack();
    void setHeldBack(bool isHeldBack);
    void end(const std::function<void()>& last);
    bool can(const char* capability) const;
    QDBusMessage notification(bool isFarewell) const;
    QStringList actions() const;
    QVariantMap hints(bool isFarewell) const;

    const BubbleContent content_;
    const std::chrono::milliseconds time_;
    Handlers handlers_;
    QDBusConnection bus_;
    QDBusServiceWatcher serverWatch_;
    QStringList capabilities_;
    uint id_ = 0;
    bool isHeldBack_ = false;
    bool hasEnded_ = false;
};

}  // namespace uilib::qt
