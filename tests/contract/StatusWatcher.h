#pragma once

#include <QDBusConnection>
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

    /// One property of an item, read as a host does; invalid if the item does not reply.
    QVariant property(const QString& item, const QString& name);

    /// Presses an item on behalf of the user, as a host does.
    void activate(const QString& item);

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service) { items.append(service); }

private:
    const QString connectionName_;
    QDBusConnection connection_;
};

}  // namespace test
