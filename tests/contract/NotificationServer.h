#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <utility>
#include <vector>

namespace test {

/// A desktop's notification server, on its own bus connection. Shows nothing and records everything.
class NotificationServer final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
    Q_PROPERTY(bool Inhibited READ isInhibited)

public:
    struct Shown {
        uint id;
        uint replaces;
        QString icon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int timeout;
    };

    explicit NotificationServer(QStringList capabilities = {QStringLiteral("body"), QStringLiteral("body-markup"),
                                                            QStringLiteral("actions")});
    ~NotificationServer() override;

    std::vector<Shown> shown;
    std::vector<uint> closedByClient;

    void press(uint id, const QString& key, const QString& token = {});
    void expire(uint id);

    /// Called while each notification is being received: its client does not know its number yet.
    void setOnNotify(std::function<void()> onNotify) { onNotify_ = std::move(onNotify); }

    /// Sets whether the user does not want to be disturbed; notifies its clients of a change.
    void setInhibited(bool isInhibited);
    bool isInhibited() const { return isInhibited_; }

public Q_SLOTS:
    QStringList GetCapabilities() { return capabilities_; }
    uint Notify(const QString& application, uint replaces, const QString& icon, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int timeout);
    void CloseNotification(uint id);

Q_SIGNALS:
    void NotificationClosed(uint id, uint reason);
    void ActionInvoked(uint id, const QString& key);
    void ActivationToken(uint id, const QString& token);

private:
    const QStringList capabilities_;
    const QString connectionName_;
    QDBusConnection connection_;
    std::function<void()> onNotify_;
    uint lastId_ = 40;
    bool isInhibited_ = false;
};

}  // namespace test
