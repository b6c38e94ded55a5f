#include "uilib/qt/NotificationPicture.h"

#include "platform/qt/VectorPicture.h"

#include <QDBusMetaType>
#include <QImage>
#include <QPainter>

namespace uilib::qt {

namespace {

constexpr int pictureSide = 96;

}  // namespace

NotificationPicture notificationPicture(const platform::ui::Image& image) {
    // Without this, QtDBus cannot send the type.
    static const auto type = qDBusRegisterMetaType<NotificationPicture>();
    static_cast<void>(type);
    QImage drawn(pictureSide, pictureSide, QImage::Format_RGBA8888);
    drawn.fill(Qt::transparent);
    QPainter painter(&drawn);
    platform::qt::VectorPicture(image).draw(painter, QRectF(drawn.rect()));
    painter.end();
    NotificationPicture picture;
    picture.width = drawn.width();
    picture.height = drawn.height();
    picture.bytesPerRow = static_cast<int>(drawn.bytesPerLine());
    picture.pixels = QByteArray(reinterpret_cast<const char*>(drawn.constBits()), drawn.sizeInBytes());
    return picture;
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotificationPicture& picture) {
    argument.beginStructure();
    argument << picture.width << picture.height << picture.bytesPerRow << picture.hasAlpha << picture.bitsPerSample
             << picture.channels << picture.pixels;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotificationPicture& picture) {
    argument.beginStructure();
    argument >> picture.width >> picture.height >> picture.bytesPerRow >> picture.hasAlpha >> picture.bitsPerSample >>
        picture.channels >> picture.pixels;
    argument.endStructure();
    return argument;
}

}  // namespace uilib::qt
