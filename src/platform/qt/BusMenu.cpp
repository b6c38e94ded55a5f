#include "platform/qt/BusMenu.h"

#include "platform/qt/ActivationToken.h"
#include "platform/qt/BusStructure.h"

#include <QDBusError>
#include <QDBusMetaType>
#include <QMetaObject>
#include <algorithm>
#include <iterator>
#include <utility>

namespace platform::qt {

namespace {

constexpr int rootId = 0;
constexpr int titleId = 1;
constexpr int separatorId = 2;

const auto label = QStringLiteral("label");

QVariantMap selected(const QVariantMap& properties, const QStringList& names) {
    if (names.isEmpty()) {
        return properties;
    }
    QVariantMap some;
    for (const auto& name : names) {
        if (properties.contains(name)) {
            some[name] = properties[name];
        }
    }
    return some;
}

}  // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const BusMenuItem& item) {
    return writeStructure(argument, item.id, item.properties, item.children);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BusMenuItem& item) {
    return readStructure(argument, item.id, item.properties, item.children);
}

QDBusArgument& operator<<(QDBusArgument& argument, const BusMenuProperties& properties) {
    return writeStructure(argument, properties.id, properties.properties);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BusMenuProperties& properties) {
    return readStructure(argument, properties.id, properties.properties);
}

QDBusArgument& operator<<(QDBusArgument& argument, const BusMenuRemovals& removals) {
    return writeStructure(argument, removals.id, removals.names);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BusMenuRemovals& removals) {
    return readStructure(argument, removals.id, removals.names);
}

QDBusArgument& operator<<(QDBusArgument& argument, const BusMenuEvent& event) {
    return writeStructure(argument, event.id, event.kind, event.data, event.timestamp);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BusMenuEvent& event) {
    return readStructure(argument, event.id, event.kind, event.data, event.timestamp);
}

BusMenu::BusMenu(const QString& title) : title_(title), lastId_(separatorId) {
    qDBusRegisterMetaType<BusMenuItem>();
    qDBusRegisterMetaType<BusMenuProperties>();
    qDBusRegisterMetaType<QList<BusMenuProperties>>();
    qDBusRegisterMetaType<BusMenuRemovals>();
    qDBusRegisterMetaType<QList<BusMenuRemovals>>();
    qDBusRegisterMetaType<BusMenuEvent>();
    qDBusRegisterMetaType<QList<BusMenuEvent>>();
}

void BusMenu::setEntries(std::vector<StatusMenuEntry> entries, bool isWatched) {
    const auto before = std::exchange(entries_, numbered(std::move(entries)));
    if (isWatched) {
        announceChange(before);
    } else {
        ++revision_;
    }
}

std::vector<BusMenu::NumberedEntry> BusMenu::numbered(std::vector<StatusMenuEntry> entries) {
    std::vector<NumberedEntry> result;
    for (auto& entry : entries) {
        const auto known = std::find_if(entries_.begin(), entries_.end(),
                                        [&](const auto& other) { return other.entry.key == entry.key; });
        const int id = known != entries_.end() ? known->id : ++lastId_;
        result.push_back({id, std::move(entry)});
    }
    return result;
}

void BusMenu::announceChange(const std::vector<NumberedEntry>& before) {
    const auto hasSameId = [](const auto& left, const auto& right) { return left.id == right.id; };
    if (!std::equal(before.begin(), before.end(), entries_.begin(), entries_.end(), hasSameId)) {
        Q_EMIT LayoutUpdated(++revision_, rootId);
        return;
    }
    QList<BusMenuProperties> changed;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].entry.text != before[i].entry.text) {
            changed.append({entries_[i].id, *propertiesOf(entries_[i].id)});
        }
    }
    if (!changed.isEmpty()) {
        Q_EMIT ItemsPropertiesUpdated(changed, {});
    }
}

std::vector<int> BusMenu::children() const {
    std::vector<int> ids{titleId};
    if (!entries_.empty()) {
        ids.push_back(separatorId);
    }
    for (const auto& entry : entries_) {
        ids.push_back(entry.id);
    }
    return ids;
}

/// Absent if there is no such entry.
std::optional<QVariantMap> BusMenu::propertiesOf(int id) const {
    switch (id) {
    case rootId:
        return QVariantMap{{QStringLiteral("children-display"), QStringLiteral("submenu")}};
    case titleId:
        return QVariantMap{{label, title_}, {QStringLiteral("enabled"), false}};
    case separatorId:
        return QVariantMap{{QStringLiteral("type"), QStringLiteral("separator")}};
    default:
        break;
    }
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [&](const auto& entry) { return entry.id == id; });
    if (found == entries_.end()) {
        return std::nullopt;
    }
    return QVariantMap{{label, menuLabel(found->entry.text, QLatin1Char('_'))}};
}

void BusMenu::refuse(int id) const {
    sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("the menu has no entry %1").arg(id));
}

uint BusMenu::GetLayout(int parentId, int depth, const QStringList& names, BusMenuItem& layout) {
    const auto properties = propertiesOf(parentId);
    if (!properties) {
        refuse(parentId);
        return 0;
    }
    layout = {parentId, selected(*properties, names), {}};
    if (parentId == rootId && depth != 0) {
        for (const int id : children()) {
            layout.children.append(QVariant::fromValue(BusMenuItem{id, selected(*propertiesOf(id), names), {}}));
        }
    }
    return revision_;
}

QList<BusMenuProperties> BusMenu::GetGroupProperties(const QList<int>& ids, const QStringList& names) {
    QList<BusMenuProperties> group;
    const auto add = [&](int id) {
        if (const auto properties = propertiesOf(id)) {
            group.append({id, selected(*properties, names)});
        }
    };
    // An empty list asks for every entry.
    std::for_each(ids.begin(), ids.end(), add);
    if (ids.isEmpty()) {
        const auto all = children();
        std::for_each(all.begin(), all.end(), add);
    }
    return group;
}

QDBusVariant BusMenu::GetProperty(int id, const QString& name) {
    const auto properties = propertiesOf(id);
    if (!properties || !properties->contains(name)) {
        refuse(id);
        return {};
    }
    return QDBusVariant(properties->value(name));
}

void BusMenu::Event(int id, const QString& kind, const QDBusVariant&, uint) {
    if (!handleEvent(id, kind)) {
        refuse(id);
    }
}

QList<int> BusMenu::EventGroup(const QList<BusMenuEvent>& events) {
    QList<int> unknown;
    for (const auto& event : events) {
        if (!handleEvent(event.id, event.kind)) {
            unknown.append(event.id);
        }
    }
    return unknown;
}

/// False if there is no such entry.
bool BusMenu::handleEvent(int id, const QString& kind) {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [&](const auto& entry) { return entry.id == id; });
    if (found == entries_.end()) {
        return propertiesOf(id).has_value();
    }
    if (kind == QLatin1String("clicked")) {
        // Queued, because what it does may ask the bus, and the panel waits for the reply to this call.
        QMetaObject::invokeMethod(
            this,
            [chosen = found->entry.chosen] {
                chosen();
                takeActivationToken();
            },
            Qt::QueuedConnection);
    }
    return true;
}

/// Panels need not ask again: each change is announced.
bool BusMenu::AboutToShow(int) {
    return false;
}

QList<int> BusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& unknown) {
    std::copy_if(ids.begin(), ids.end(), std::back_inserter(unknown), [this](int id) { return !propertiesOf(id); });
    return {};
}

}  // namespace platform::qt
