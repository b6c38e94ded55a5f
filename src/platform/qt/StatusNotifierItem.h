#pragma once

#include "platform/qt/BusMenu.h"
#include "platform/qt/PrivateConnection.h"
#include "platform/qt/StatusMenuEntry.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QIcon>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

namespace platform::qt {

/// One size of an icon in the bus format: width, height, 32-bit ARGB in network byte order.
struct IconPixels {
    int width = 0;
    int height = 0;
    QByteArray bytes;
};
using IconPixelsList = QList<IconPixels>;

/// What a panel shows while the pointer rests on the icon.
struct IconToolTip {
    QString iconName;
    IconPixelsList iconPixels;
    QString title;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const IconPixels& pixels);
const QDBusArgument& operator>>(const QDBusArgument& argument, IconPixels& pixels);
QDBusArgument& operator<<(QDBusArgument& argument, const IconToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, IconToolTip& toolTip);

/// An icon for desktops that manage their status icons over the bus: registers with the existing watcher, and again
/// with each that appears. Such a desktop does not report where it draws the icon. Main thread.
class StatusNotifierItem final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconName READ none)
    Q_PROPERTY(platform::qt::IconPixelsList IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ none)
    Q_PROPERTY(QString AttentionIconName READ none)
    Q_PROPERTY(platform::qt::IconToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

public:
    /// None is called from inside the constructor.
    struct Handlers {
        /// It is known whether a host shows such icons, or a host has appeared or disappeared.
        std::function<void()> hostChanged;
        /// The user has pressed the icon, with pointer or keyboard.
        std::function<void()> activated;
        /// The user wants the menu, in a panel that draws none; a point on the desktop, in its own pixels.
        std::function<void(QPoint)> menuWanted;
    };

    StatusNotifierItem(QIcon icon, QString title, Handlers handlers);
    ~StatusNotifierItem() override;

    /// Sets the text of the tooltip below the title; lines of plain text.
    void setText(const QString& text);

    /// Sets what the menu offers below the title.
    void setMenu(std::vector<StatusMenuEntry> entries);

    /// Whether a host shows this icon now.
    bool isShown() const { return isShown_.value_or(false); }

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const { return QStringLiteral("record-converter"); }
    QString title() const { return title_; }
    QString status() const { return QStringLiteral("Active"); }
    int windowId() const { return 0; }
    QString none() const { return {}; }
    IconPixelsList iconPixmap() const;
    IconToolTip toolTip() const { return {{}, {}, title_, text_.toHtmlEscaped()}; }
    bool itemIsMenu() const { return false; }
    QDBusObjectPath menu() const;

    Q_SLOT void Activate(int, int);
    // A secondary press does nothing.
    Q_SLOT void SecondaryActivate(int, int) {}
    Q_SLOT void ContextMenu(int x, int y);
    Q_SLOT void ProvideXdgActivationToken(const QString& token);
    Q_SLOT void Scroll(int, const QString&) {}

Q_SIGNALS:
    void NewIcon();
    void NewToolTip();
    void NewStatus(const QString& status);

private:
    Q_SLOT void askWatcher();
    Q_SLOT void watcherGone();
    void setShown(bool isShown);

    const QIcon icon_;
    const QString title_;
    QString text_;
    const Handlers handlers_;
    BusMenu menu_;
    PrivateConnection connection_;
    QDBusServiceWatcher watcher_;
    QString service_;
    std::optional<bool> isShown_;
};

}  // namespace platform::qt

Q_DECLARE_METATYPE(platform::qt::IconPixels)
Q_DECLARE_METATYPE(platform::qt::IconToolTip)
