#pragma once

#include "platform/qt/StatusMenuEntry.h"

#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusVariant>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>
#include <vector>

namespace platform::qt {

/// An entry of a menu in the bus format: its properties, and the entries below it, each a BusMenuItem.
struct BusMenuItem {
    int id = 0;
    QVariantMap properties;
    QVariantList children;
};

/// The properties of one entry.
struct BusMenuProperties {
    int id = 0;
    QVariantMap properties;
};

/// The names of properties that one entry no longer has.
struct BusMenuRemovals {
    int id = 0;
    QStringList names;
};

/// What the user has done with one entry.
struct BusMenuEvent {
    int id = 0;
    QString kind;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const BusMenuItem& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, BusMenuItem& item);
QDBusArgument& operator<<(QDBusArgument& argument, const BusMenuProperties& properties);
const QDBusArgument& operator>>(const QDBusArgument& argument, BusMenuProperties& properties);
QDBusArgument& operator<<(QDBusArgument& argument, const BusMenuRemovals& removals);
const QDBusArgument& operator>>(const QDBusArgument& argument, BusMenuRemovals& removals);
QDBusArgument& operator<<(QDBusArgument& argument, const BusMenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, BusMenuEvent& event);

/// A menu of one level that a panel draws (com.canonical.dbusmenu, version 3): a title, and the entries below it. An
/// entry keeps its id as long as it is in the menu, so that a choice from a menu drawn a moment ago still means the
/// same entry. Main thread.
class BusMenu final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    explicit BusMenu(const QString& title);

    /// Replaces the entries. `isWatched` says whether a panel shows the icon; the change is announced only then.
    void setEntries(std::vector<StatusMenuEntry> entries, bool isWatched);

    uint version() const { return 3; }
    QString textDirection() const { return QStringLiteral("ltr"); }
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

    Q_SLOT uint GetLayout(int parentId, int depth, const QStringList& names, platform::qt::BusMenuItem& layout);
    Q_SLOT QList<platform::qt::BusMenuProperties> GetGroupProperties(const QList<int>& ids, const QStringList& names);
    Q_SLOT QDBusVariant GetProperty(int id, const QString& name);
    Q_SLOT void Event(int id, const QString& kind, const QDBusVariant& data, uint timestamp);
    Q_SLOT QList<int> EventGroup(const QList<platform::qt::BusMenuEvent>& events);
    Q_SLOT bool AboutToShow(int id);
    Q_SLOT QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& unknown);

Q_SIGNALS:
    void LayoutUpdated(uint revision, int parentId);
    void ItemsPropertiesUpdated(const QList<platform::qt::BusMenuProperties>& changed,
                                const QList<platform::qt::BusMenuRemovals>& removed);

private:
    struct NumberedEntry {
        int id;
        StatusMenuEntry entry;
    };

    std::vector<NumberedEntry> numbered(std::vector<StatusMenuEntry> entries);
    void announceChange(const std::vector<NumberedEntry>& before);
    std::vector<int> children() const;
    std::optional<QVariantMap> propertiesOf(int id) const;
    void refuse(int id) const;
    bool handleEvent(int id, const QString& kind);

    const QString title_;
    std::vector<NumberedEntry> entries_;
    int lastId_;
    uint revision_ = 1;
};

}  // namespace platform::qt
