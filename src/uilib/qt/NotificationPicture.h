#pragma once

#include "platform/ui/Image.h"

#include <QByteArray>
#include <QDBusArgument>
#include <QMetaType>

namespace uilib::qt {

/// An image in the form that notification servers take in the hint "image-data" (Desktop Notifications Specification
/// 1.2): rows of red, green, blue and alpha, one byte each.
struct NotificationPicture {
    int width = 0;
    int height = 0;
    int bytesPerRow = 0;
    bool hasAlpha = true;
    int bitsPerSample = 8;
    int channels = 4;
    QByteArray pixels;
};

/// Large enough for a high-density screen. Main thread.
NotificationPicture notificationPicture(const platform::ui::Image& image);

QDBusArgument& operator<<(QDBusArgument& argument, const NotificationPicture& picture);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotificationPicture& picture);

}  // namespace uilib::qt

Q_DECLARE_METATYPE(uilib::qt::NotificationPicture)
