#pragma once

#include "platform/qt/PrivateConnection.h"

#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace uilib::qt {

/// Preferences that the user has set for all programs, from the desktop's settings portal: reduced motion, higher
/// contrast. Both are off until the portal has answered, or if there is none. Sleeps until one of these settings
/// changes. Main thread.
class DesktopTaste final : public QObject {
    Q_OBJECT

public:
    DesktopTaste();

    bool wantsLessMotion() const { return lessMotion_ || !animations_; }
    bool wantsMoreContrast() const { return moreContrast_ || highContrast_; }

private:
    Q_SLOT void onSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

    void askForAll();
    void ask(const QString& group, const QString& key);
    void apply(const QString& group, const QString& key, const QVariant& value);

    platform::qt::PrivateConnection connection_;
    QDBusServiceWatcher portalWatch_;
    bool lessMotion_ = false;
    bool moreContrast_ = false;
    bool animations_ = true;
    bool highContrast_ = false;
};

}  // namespace uilib::qt
