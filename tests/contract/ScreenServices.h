#pragma once

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QString>

namespace test {

/// A desktop's screen saver, on its own bus connection.
class ScreenSaver final : public QObject {
    Q_OBJECT

public:
    /// The interface has the name of the service.
    explicit ScreenSaver(bool isActive = false, QString service = QStringLiteral("org.freedesktop.ScreenSaver"));
    ~ScreenSaver() override;

    void setActive(bool isActive);

public Q_SLOTS:
    bool GetActive() const { return isActive_; }

private:
    QString path() const;

    const QString service_;
    QDBusConnection connection_;
    bool isActive_;
};

/// The only session of the login manager below.
class ManagedSession final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Session")
    Q_PROPERTY(QString Type MEMBER type)
    Q_PROPERTY(bool LockedHint MEMBER isLocked)
    Q_PROPERTY(bool IdleHint MEMBER isIdle)

public:
    QString type = QStringLiteral("x11");
    bool isLocked = false;
    bool isIdle = false;
};

/// A login manager, on its own connection to the system bus.
class LoginManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    explicit LoginManager(const QString& typeOfSession = QStringLiteral("x11"));
    ~LoginManager() override;

    /// Changes a hint of the session, and announces it.
    void setHint(const QString& name, bool value);

    /// How often clients have asked for their own session.
    int asked = 0;

public Q_SLOTS:
    QDBusObjectPath GetSession(const QString& id);

private:
    QDBusConnection connection_;
    ManagedSession session_;
};

}  // namespace test
