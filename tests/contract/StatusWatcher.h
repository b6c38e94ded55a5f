#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace test {

/// A desktop's watcher of status icons with a host that shows them, on a bus connection of its own.
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

    /// One property of an item, as a host asks for it; invalid when the item does not answer.
    QVariant property(const QString& item, const QString& name);

    /// Presses an item, as a host does for its user.
    void activate(const QString& item);

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service) { items.append(service); }

private:
    const QString connectionName_;
    QDBusConnection connection_;
};

}  // namespace test
