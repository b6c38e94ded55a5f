#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace test {

/// A desktop's watcher of status icons with a host that shows them, on its own bus connection.
class StatusWatcher final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

public:
    StatusWatcher();
    ~StatusWatcher() override;

    bool hasHost() const { return true; }

    /// In the order of registration.
    QStringList items;

    /// The reply to a call of an item's menu, as a panel makes it.
    QDBusMessage askMenu(const QString& item, const QString& method, const QVariantList& arguments);

    /// Has `slot` of `receiver` called for a signal of an item's menu.
    bool listenToMenu(const QString& item, const QString& signal, QObject* receiver, const char* slot);

    /// One property of an item, read as a host does; invalid if the item does not reply.
    QVariant property(const QString& item, const QString& name);

    /// Presses an item on behalf of the user, as a host does.
    void activate(const QString& item);

    /// Passes on the permission to come to the front, as a host does before it reports a press.
    void provideActivationToken(const QString& item, const QString& token);

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service) { items.append(service); }

private:
    void callItem(const QString& item, const QString& method, const QVariantList& arguments);

    const QString connectionName_;
    QDBusConnection connection_;
};

}  // namespace test
