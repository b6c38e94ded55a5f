#include "platform/qt/StatusNotifierItem.h"

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
    argument.beginStructure();
    argument << pixels.width << pixels.height << pixels.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixels& pixels) {
    argument.beginStructure();
    argument >> pixels.width >> pixels.height >> pixels.bytes;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const IconToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.iconPixels << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, IconToolTip& toolTip) {
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.iconPixels >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

StatusNotifierItem::StatusNotifierItem(QIcon icon, QString title, std::function<void()> hostChanged,
                                       std::function<void()> activated)
    : icon_(std::move(icon)),
      title_(std::move(title)),
      hostChanged_(std::move(hostChanged)),
      activated_(std::move(activated)),
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
    connection_.bus().registerObject(itemPath, this,
                                     QDBusConnection::ExportAllProperties | QDBusConnection::ExportAllSlots |
                                         QDBusConnection::ExportAllSignals);
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
    }
}

void StatusNotifierItem::setText(const QString& text) {
    text_ = text;
    // If no panel shows the icon, the signal would wake processes for nothing.
    if (isShown()) {
        Q_EMIT NewToolTip();
    }
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
        hostChanged_();
    }
}

}  // namespace platform::qt
