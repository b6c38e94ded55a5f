#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVariant>

namespace test {

/// A desktop's settings portal, on its own bus connection.
class SettingsPortal final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    SettingsPortal();
    ~SettingsPortal() override;

    /// By "group key".
    QMap<QString, QVariant> settings;

    /// How many settings clients have asked for.
    int asked = 0;

    void change(const QString& group, const QString& key, const QVariant& value);

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key);

Q_SIGNALS:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    QDBusConnection connection_;
};

}  // namespace test
