#include "platform/qt/StatusNotifierItem.h"

#include "platform/qt/ActivationToken.h"
#include "platform/qt/BusStructure.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QImage>
#include <QMetaObject>
#include <QPixmap>
#include <QtEndian>
#include <unistd.h>
#include <utility>

namespace platform::qt {

namespace {

const auto watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto watcherPath = QStringLiteral("/StatusNotifierWatcher");
const auto itemPath = QStringLiteral("/StatusNotifierItem");
const auto menuPath = QStringLiteral("/Menu");
const auto exported =
    QDBusConnection::ExportAllProperties | QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals;

IconPixels pixelsOf(const QIcon& icon, int side) {
    auto image = icon.pixmap(QSize(side, side), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
    IconPixels pixels{image.width(), image.height(), {}};
    for (int y = 0; y < image.height(); ++y) {
        auto* const line = reinterpret_cast<quint32*>(image.scanLine(y));
        qToBigEndian<quint32>(line, image.width(), line);
        pixels.bytes.append(reinterpret_cast<const char*>(line), image.width() * qsizetype{4});
    }
    return pixels;
}

}  // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const IconPixels& pixels) {
    return writeStructure(argument, pixels.width, pixels.height, pixels.bytes);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixels& pixels) {
    return readStructure(argument, pixels.width, pixels.height, pixels.bytes);
}

QDBusArgument& operator<<(QDBusArgument& argument, const IconToolTip& toolTip) {
    return writeStructure(argument, toolTip.iconName, toolTip.iconPixels, toolTip.title, toolTip.text);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, IconToolTip& toolTip) {
    return readStructure(argument, toolTip.iconName, toolTip.iconPixels, toolTip.title, toolTip.text);
}

StatusNotifierItem::StatusNotifierItem(QIcon icon, QString title, Handlers handlers)
    : icon_(std::move(icon)),
      title_(std::move(title)),
      handlers_(std::move(handlers)),
      menu_(title_),
      connection_(QDBusConnection::SessionBus, QStringLiteral("record-converter status icon")),
      watcher_(watcherName, connection_.bus(),
               QDBusServiceWatcher::WatchForRegistration | QDBusServiceWatcher::WatchForUnregistration),
      service_(QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(getpid())) {
    if (!connection_.isConnected()) {
        QMetaObject::invokeMethod(this, &StatusNotifierItem::watcherGone, Qt::QueuedConnection);
        return;
    }
    qDBusRegisterMetaType<IconPixels>();
    qDBusRegisterMetaType<IconPixelsList>();
    qDBusRegisterMetaType<IconToolTip>();
    connection_.bus().registerObject(itemPath, this, exported);
    connection_.bus().registerObject(menuPath, &menu_, exported);
    connection_.bus().registerService(service_);
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &StatusNotifierItem::askWatcher);
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, &StatusNotifierItem::watcherGone);
    connection_.bus().connect(watcherName, watcherPath, watcherName, QStringLiteral("StatusNotifierHostRegistered"),
                              this, SLOT(askWatcher()));
    connection_.bus().connect(watcherName, watcherPath, watcherName, QStringLiteral("StatusNotifierHostUnregistered"),
                              this, SLOT(askWatcher()));
    askWatcher();
}

StatusNotifierItem::~StatusNotifierItem() {
    if (connection_.isConnected()) {
        connection_.bus().unregisterObject(itemPath);
        connection_.bus().unregisterObject(menuPath);
    }
}

void StatusNotifierItem::setText(const QString& text) {
    text_ = text;
    // If no panel shows the icon, the signal would wake processes for nothing.
    if (isShown()) {
        Q_EMIT NewToolTip();
    }
}

void StatusNotifierItem::setMenu(std::vector<StatusMenuEntry> entries) {
    menu_.setEntries(std::move(entries), isShown());
}

QDBusObjectPath StatusNotifierItem::menu() const {
    return QDBusObjectPath(menuPath);
}

void StatusNotifierItem::Activate(int, int) {
    handlers_.activated();
    // The bubble's own window needs none, and what is opened later must not use up an old one.
    takeActivationToken();
}

void StatusNotifierItem::ContextMenu(int x, int y) {
    handlers_.menuWanted(QPoint(x, y));
}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    setActivationToken(token);
}

IconPixelsList StatusNotifierItem::iconPixmap() const {
    IconPixelsList sizes;
    for (const auto& size : icon_.availableSizes()) {
        sizes.append(pixelsOf(icon_, size.width()));
    }
    return sizes;
}

void StatusNotifierItem::askWatcher() {
    auto registration = QDBusMessage::createMethodCall(watcherName, watcherPath, watcherName,
                                                       QStringLiteral("RegisterStatusNotifierItem"));
    registration.setAutoStartService(false);
    registration << service_;
    connection_.bus().send(registration);

    auto question = QDBusMessage::createMethodCall(
        watcherName, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question.setAutoStartService(false);
    question << watcherName << QStringLiteral("IsStatusNotifierHostRegistered");
    auto* const answer = new QDBusPendingCallWatcher(connection_.bus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        setShown(reply.isValid() && reply.value().variant().toBool());
        answer->deleteLater();
    });
}

void StatusNotifierItem::watcherGone() {
    setShown(false);
}

void StatusNotifierItem::setShown(bool isShown) {
    if (std::exchange(isShown_, isShown) != std::optional(isShown)) {
        handlers_.hostChanged();
    }
}

}  // namespace platform::qt
