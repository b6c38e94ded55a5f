#include "platform/qt/QtStatusBar.h"

#include "platform/ProgramIdentity.h"
#include "platform/qt/StatusNotifierItem.h"
#include "platform/qt/TrayWindow.h"
#include "platform/qt/VectorPicture.h"
#include "platform/ui/ImageView.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QMetaObject>
#include <QObject>
#include <QSystemTrayIcon>
#include <utility>
#include <vector>

namespace platform::qt {

namespace {

const auto iconTitle = QString::fromLatin1(programTitle);

// The toolkit renders a text as rich text if it looks like rich text.
QString toolTipOfEmbedded(const QString& text) {
    return text.isEmpty() ? iconTitle
                          : (iconTitle + QLatin1Char('\n') + text)
                                .toHtmlEscaped()
                                .replace(QLatin1Char('\n'), QStringLiteral("<br>"));
}

bool canBeEmbedded() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

}  // namespace

struct QtStatusBar::Items {
    void tellMoved() const {
        if (moved) {
            moved();
        }
    }

    void tellActivated() const {
        if (activated) {
            activated();
        }
    }

    /// On the screen, at `place`; for panels that draw no menus.
    void popUpMenu(QPoint place) const;

    std::vector<std::weak_ptr<Item>> made;
    std::vector<StatusMenuEntry> menu;
    std::function<void()> moved;
    std::function<void()> activated;
};

void QtStatusBar::Items::popUpMenu(QPoint place) const {
    if (!canBeEmbedded()) {
        return;
    }
    auto* const shown = new QMenu;
    shown->setAttribute(Qt::WA_DeleteOnClose);
    shown->addAction(iconTitle)->setEnabled(false);
    if (!menu.empty()) {
        shown->addSeparator();
    }
    for (const auto& entry : menu) {
        QObject::connect(shown->addAction(menuLabel(entry.text, QLatin1Char('&'))), &QAction::triggered, shown,
                         [chosen = entry.chosen] { chosen(); });
    }
    shown->popup(place);
}

// The bus is tried first: on a host that keeps such icons, an embedded one would be a second icon. The toolkit's tray
// icon would look for the bus too, but only once; because it is created only while there is no host, it is always the
// embedded one.
class QtStatusBar::Item final : public StatusItem {
public:
    explicit Item(std::shared_ptr<Items> items) : items_(std::move(items)) {}

    std::shared_ptr<ui::View> view() const override { return view_; }

    void setView(std::shared_ptr<ui::View> view) override {
        view_ = std::move(view);
        const auto* const imageView = dynamic_cast<const ui::ImageView*>(view_.get());
        icon_ = imageView != nullptr && imageView->image() ? vectorIcon(*imageView->image()) : QIcon();
        embedded_.reset();
        overBus_.reset();
        if (view_ == nullptr) {
            return;
        }
        // Registering takes calls to the bus, and the spawn confirmation must not wait for them.
        QMetaObject::invokeMethod(
            &context_, [this] { goOverBus(); }, Qt::QueuedConnection);
    }

    // No desktop lets an application choose whether its icon is drawn pressed.
    void setHighlightMode(bool) override {}

    void setText(const QString& text) {
        text_ = text;
        if (overBus_) {
            overBus_->setText(text);
        }
        if (embedded_) {
            embedded_->icon.setToolTip(toolTipOfEmbedded(text));
        }
    }

    void updateMenu() {
        if (overBus_) {
            overBus_->setMenu(items_->menu);
        }
    }

    std::optional<ui::Rect> desktopFrame() { return embedded_ ? embedded_->window.desktopFrame() : std::nullopt; }

private:
    struct Embedded {
        explicit Embedded(const std::function<void()>& moved) : window(moved) {}

        QSystemTrayIcon icon;
        TrayWindow window;
    };

    void goOverBus() {
        if (view_ != nullptr && !overBus_) {
            overBus_ = std::make_unique<StatusNotifierItem>(
                icon_, iconTitle,
                StatusNotifierItem::Handlers{[this] { chooseFace(); }, [items = items_] { items->tellActivated(); },
                                             [items = items_](QPoint place) { items->popUpMenu(place); }});
            overBus_->setText(text_);
            updateMenu();
        }
    }

    void chooseFace() {
        const bool isEmbedded = !overBus_->isShown() && canBeEmbedded();
        if (isEmbedded && !embedded_) {
            embedded_ = std::make_unique<Embedded>([items = items_] { items->tellMoved(); });
            embedded_->icon.setIcon(icon_);
            embedded_->icon.setToolTip(toolTipOfEmbedded(text_));
            QObject::connect(&embedded_->icon, &QSystemTrayIcon::activated,
                             [items = items_](QSystemTrayIcon::ActivationReason reason) {
                                 reason == QSystemTrayIcon::Context ? items->popUpMenu(QCursor::pos())
                                                                    : items->tellActivated();
                             });
            embedded_->icon.show();
        } else if (!isEmbedded) {
            embedded_.reset();
        }
        items_->tellMoved();
    }

    const std::shared_ptr<Items> items_;
    std::shared_ptr<ui::View> view_;
    QIcon icon_;
    QString text_;
    QObject context_;
    std::unique_ptr<StatusNotifierItem> overBus_;
    std::unique_ptr<Embedded> embedded_;
};

QtStatusBar::QtStatusBar() : items_(std::make_shared<Items>()) {}

QtStatusBar::~QtStatusBar() = default;

std::shared_ptr<StatusItem> QtStatusBar::statusItemWithLength(double) {
    auto item = std::make_shared<Item>(items_);
    items_->made.push_back(item);
    return item;
}

std::optional<ui::Rect> QtStatusBar::desktopFrameOf(const ui::View& view) const {
    for (const auto& made : items_->made) {
        const auto item = made.lock();
        if (item && item->view().get() == &view) {
            return item->desktopFrame();
        }
    }
    return std::nullopt;
}

void QtStatusBar::setToolTip(const std::string& text) {
    for (const auto& made : items_->made) {
        if (const auto item = made.lock()) {
            item->setText(QString::fromStdString(text));
        }
    }
}

void QtStatusBar::setMenu(std::vector<StatusMenuEntry> entries) {
    items_->menu = std::move(entries);
    for (const auto& made : items_->made) {
        if (const auto item = made.lock()) {
            item->updateMenu();
        }
    }
}

void QtStatusBar::setActivatedHandler(std::function<void()> activated) {
    items_->activated = std::move(activated);
}

void QtStatusBar::setItemsMovedHandler(std::function<void()> moved) {
    items_->moved = std::move(moved);
}

}  // namespace platform::qt
