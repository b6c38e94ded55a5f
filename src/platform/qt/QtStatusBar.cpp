#include "platform/qt/QtStatusBar.h"

#include "platform/qt/VectorPicture.h"
#include "platform/ui/ImageView.h"

#include <QSystemTrayIcon>
#include <utility>
#include <vector>

namespace platform::qt {

namespace {

const auto kToolTip = QStringLiteral("Record converter");

}  // namespace

class QtStatusBar::Items {
public:
    class Item;

    std::vector<std::weak_ptr<Item>> made;
};

class QtStatusBar::Items::Item final : public StatusItem {
public:
    std::shared_ptr<ui::View> view() const override { return view_; }

    void setView(std::shared_ptr<ui::View> view) override {
        view_ = std::move(view);
        const auto* const imageView = dynamic_cast<const ui::ImageView*>(view_.get());
        icon_.setIcon(imageView != nullptr && imageView->image() ? vectorIcon(*imageView->image()) : QIcon());
        icon_.setToolTip(kToolTip);
        icon_.setVisible(view_ != nullptr);
    }

    // No desktop draws its icons pressed by the application's wish.
    void setHighlightMode(bool) override {}

    std::optional<ui::Rect> desktopFrame() const {
        const auto frame = icon_.geometry();
        if (!icon_.isVisible() || frame.isEmpty()) {
            return std::nullopt;
        }
        return ui::Rect{static_cast<double>(frame.x()), static_cast<double>(frame.y()),
                        static_cast<double>(frame.width()), static_cast<double>(frame.height())};
    }

private:
    std::shared_ptr<ui::View> view_;
    QSystemTrayIcon icon_;
};

QtStatusBar::QtStatusBar() : items_(std::make_shared<Items>()) {}

QtStatusBar::~QtStatusBar() = default;

std::shared_ptr<StatusItem> QtStatusBar::statusItemWithLength(double) {
    auto item = std::make_shared<Items::Item>();
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

}  // namespace platform::qt
