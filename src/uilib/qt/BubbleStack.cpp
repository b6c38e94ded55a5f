#include "uilib/qt/BubbleStack.h"

#include "platform/qt/QtStatusBar.h"
#include "uilib/qt/QtAuroraBubble.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <utility>

namespace uilib::qt {

namespace {

Rect rectOf(const QRect& rect) {
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()), static_cast<double>(rect.width()),
            static_cast<double>(rect.height())};
}

Rect availableAt(const QPoint& point) {
    const auto* const screen = QGuiApplication::screenAt(point);
    return rectOf((screen != nullptr ? screen : QGuiApplication::primaryScreen())->availableGeometry());
}

}  // namespace

void BubbleStack::add(std::shared_ptr<QtAuroraBubble> bubble) {
    bubbles_.push_back(std::move(bubble));
    arrange();
}

void BubbleStack::remove(const QtAuroraBubble& bubble) {
    std::erase_if(bubbles_, [&](const auto& held) { return held.get() == &bubble; });
    arrange();
}

Surroundings BubbleStack::surroundings() const {
    const auto& first = *bubbles_.front();
    const auto icon = first.anchor() ? statusBar_.desktopFrameOf(*first.anchor()) : std::nullopt;
    if (!icon) {
        return {std::nullopt, availableAt(QCursor::pos())};
    }
    // The point is in the anchor's own coordinates; the desktop may show the anchor at another size.
    const double width = first.anchor()->frame().width;
    const double across = width > 0 ? first.point().x / width : 0.5;
    const double x = icon->x + icon->width * across;
    return {Rect{x, icon->y, 0, icon->height}, availableAt(QPoint(qRound(x), qRound(icon->y + icon->height / 2)))};
}

void BubbleStack::arrange() {
    if (bubbles_.empty()) {
        return;
    }
    std::vector<Size> bodies;
    for (const auto& bubble : bubbles_) {
        bodies.push_back(bubble->window().bodySize());
    }
    const auto arrow = bubbles_.front()->description()->arrowDescription();
    const auto places = placeBubbles(surroundings(), arrow ? *arrow : AuroraArrowRecord(), bodies);
    for (std::size_t i = 0; i < bubbles_.size(); ++i) {
        bubbles_[i]->window().moveTo(places[i]);
    }
}

}  // namespace uilib::qt
