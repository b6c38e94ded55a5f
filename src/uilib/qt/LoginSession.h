#pragma once

#include "platform/qt/PrivateConnection.h"

#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>

namespace uilib::qt {

/// The user's graphical session as reported by the login manager on the system bus: whether it is locked or idle.
/// Neither if there is no login manager. Costs nothing between changes. Main thread.
class LoginSession final : public QObject {
    Q_OBJECT

public:
    /// `changed` is called with whether the user is away (locked or idle), never from inside this call.
    explicit LoginSession(std::function<void(bool)> changed);

private:
    Q_SLOT void onPropertiesChanged(const QString& interface, const QVariantMap& changed,
                                    const QStringList& invalidated);

    void ask(const QString& path);
    void apply(const QVariantMap& properties);

    const std::function<void(bool)> changed_;
    platform::qt::PrivateConnection connection_;
    QDBusServiceWatcher managerWatch_;
    bool isGraphical_ = false;
    bool isLocked_ = false;
    bool isIdle_ = false;
};

}  // namespace uilib::qt
