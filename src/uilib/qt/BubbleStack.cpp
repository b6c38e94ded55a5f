#include "uilib/qt/BubbleStack.h"

#include "platform/qt/QtStatusBar.h"
#include "uilib/qt/QtAuroraBubble.h"
#include "uilib/qt/ScreenWatch.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <chrono>
#include <utility>

namespace uilib::qt {

namespace {

constexpr auto kRest = std::chrono::seconds(1);

Rect rectOf(const QRect& rect) {
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()), static_cast<double>(rect.width()),
            static_cast<double>(rect.height())};
}

Rect availableAt(const QPoint& point) {
    const auto* const screen = QGuiApplication::screenAt(point);
    return rectOf((screen != nullptr ? screen : QGuiApplication::primaryScreen())->availableGeometry());
}

}  // namespace

BubbleStack::BubbleStack(const platform::qt::QtStatusBar& statusBar) : statusBar_(statusBar) {}

BubbleStack::~BubbleStack() = default;

void BubbleStack::setAllGoneHandler(std::function<void()> handler) {
    allGone_ = std::move(handler);
}

void BubbleStack::learnTaste() {
    if (!taste_) {
        taste_ = std::make_unique<const DesktopTaste>();
    }
}

BubbleWindow::Taste BubbleStack::taste() {
    learnTaste();
    return {taste_->wantsLessMotion(), taste_->wantsMoreContrast()};
}

void BubbleStack::add(std::shared_ptr<QtAuroraBubble> bubble) {
    if (!screenWatch_) {
        screenWatch_ = std::make_unique<ScreenWatch>([this](bool isVisible) {
            for (const auto& open : bubbles_) {
                open->setScreenVisible(isVisible);
            }
        });
    }
    bubble->setScreenVisible(screenWatch_->isVisible());
    bubbles_.push_back(std::move(bubble));
}

void BubbleStack::remove(const QtAuroraBubble& bubble) {
    std::erase_if(bubbles_, [&](const auto& held) { return held.get() == &bubble; });
    if (bubbles_.empty()) {
        screenWatch_.reset();
        if (allGone_) {
            // The last bubble goes only after this call, its window later still, and then what it has set going on the
            // bus and the screen.
            QTimer::singleShot(kRest, qApp, allGone_);
        }
    }
    arrange();
}

bool BubbleStack::hasIconPlace(const QtAuroraBubble& bubble) const {
    return bubble.anchor() && statusBar_.desktopFrameOf(*bubble.anchor());
}

Surroundings BubbleStack::surroundings(const QtAuroraBubble& first) const {
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
    std::vector<QtAuroraBubble*> placed;
    std::vector<Size> bodies;
    for (const auto& bubble : bubbles_) {
        if (bubble->window() != nullptr && !bubble->isLeaving()) {
            placed.push_back(bubble.get());
            bodies.push_back(bubble->window()->bodySize());
        }
    }
    if (placed.empty()) {
        return;
    }
    const auto& first = *placed.front();
    const auto arrow = first.description()->arrowDescription();
    const auto places = placeBubbles(surroundings(first), arrow ? *arrow : AuroraArrowRecord(), bodies);
    for (std::size_t i = 0; i < placed.size(); ++i) {
        placed[i]->window()->moveTo(places[i]);
    }
}

}  // namespace uilib::qt
