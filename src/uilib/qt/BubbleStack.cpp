#include "uilib/qt/BubbleStack.h"

#include "platform/qt/QtStatusBar.h"
#include "uilib/qt/ScreenWatch.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace uilib::qt {

namespace {

constexpr auto restTime = std::chrono::seconds(1);
// Long enough to move the pointer from one bubble to the next, or to click twice.
constexpr auto settlingTime = std::chrono::milliseconds(600);

Rect rectOf(const QRect& rect) {
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()), static_cast<double>(rect.width()),
            static_cast<double>(rect.height())};
}

QScreen* screenAt(const QPoint& point) {
    auto* const screen = QGuiApplication::screenAt(point);
    return screen != nullptr ? screen : QGuiApplication::primaryScreen();
}

}  // namespace

BubbleStack::BubbleStack(const platform::qt::QtStatusBar& statusBar) : statusBar_(statusBar) {
    settling_.setSingleShot(true);
    settling_.setInterval(settlingTime);
    QObject::connect(&settling_, &QTimer::timeout, [this] { arrange(); });
}

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
    bubble->setStackAttended(!attended_.empty());
    bubbles_.push_back(std::move(bubble));
}

void BubbleStack::setAttended(const QtAuroraBubble& bubble, bool isAttended) {
    const bool wasAttended = !attended_.empty();
    if (isAttended) {
        attended_.insert(&bubble);
    } else {
        attended_.erase(&bubble);
    }
    if (wasAttended == !attended_.empty()) {
        return;
    }
    if (isAttended) {
        settling_.stop();
    } else {
        settling_.start();
    }
    for (const auto& open : bubbles_) {
        open->setStackAttended(isAttended);
    }
}

bool BubbleStack::standsStill() const {
    return !attended_.empty() || settling_.isActive();
}

void BubbleStack::remove(const QtAuroraBubble& bubble) {
    setAttended(bubble, false);
    for (auto& slot : slots_) {
        slot.bubble = slot.bubble == &bubble ? nullptr : slot.bubble;
    }
    std::erase_if(bubbles_, [&](const auto& held) { return held.get() == &bubble; });
    if (bubbles_.empty()) {
        screenWatch_.reset();
        screen_.clear();
        settling_.stop();
        slots_.clear();
        if (allGone_) {
            // The last bubble is destroyed only after this call, its window later still, and then everything that it
            // has started on the bus and the screen.
            QTimer::singleShot(restTime, qApp, allGone_);
        }
    }
    arrange();
}

void BubbleStack::giveKeyboard() {
    const auto newest = std::find_if(bubbles_.rbegin(), bubbles_.rend(), [](const auto& bubble) {
        return bubble->window() != nullptr && bubble->window()->isVisible() && !bubble->isLeaving();
    });
    if (newest != bubbles_.rend()) {
        (*newest)->window()->takeFocus();
    }
}

bool BubbleStack::hasIconPlace(const QtAuroraBubble& bubble) const {
    return bubble.anchor() && statusBar_.desktopFrameOf(*bubble.anchor());
}

Surroundings BubbleStack::withoutIcon() {
    if (!screen_) {
        screen_ = screenAt(QCursor::pos());
    }
    const auto available = rectOf(screen_->availableGeometry());
    return {std::nullopt, available, cornerBesidePanel(rectOf(screen_->geometry()), available)};
}

Surroundings BubbleStack::surroundings(const QtAuroraBubble& first) {
    const auto icon = first.anchor() ? statusBar_.desktopFrameOf(*first.anchor()) : std::nullopt;
    if (!icon) {
        return withoutIcon();
    }
    // The point is in the anchor's own coordinates; the desktop may show the anchor in another size.
    const double width = first.anchor()->frame().width;
    const double across = width > 0 ? first.point().x / width : 0.5;
    const double x = icon->x + icon->width * across;
    const auto* const screen = screenAt(QPoint(qRound(x), qRound(icon->y + icon->height / 2)));
    return {Rect{x, icon->y, 0, icon->height}, rectOf(screen->availableGeometry())};
}

void BubbleStack::updateSlots() {
    if (!standsStill()) {
        slots_.clear();
    }
    for (const auto& bubble : bubbles_) {
        const bool isPlaced = bubble->window() != nullptr && !bubble->isLeaving();
        const bool isKnown = std::ranges::any_of(slots_, [&](const Slot& slot) { return slot.bubble == bubble.get(); });
        if (isPlaced && !isKnown) {
            slots_.push_back({bubble.get(), bubble->window()->bodySize()});
        }
    }
}

void BubbleStack::arrange() {
    const bool wasEmpty = slots_.empty();
    updateSlots();
    if (slots_.empty()) {
        return;
    }
    if (!standsStill() || wasEmpty) {
        const auto& first = *slots_.front().bubble;
        surroundings_ = surroundings(first);
        arrow_ = first.description()->arrowDescription();
    }
    std::vector<Size> bodies;
    std::ranges::transform(slots_, std::back_inserter(bodies), &Slot::body);
    const auto places = placeBubbles(surroundings_, arrow_ ? *arrow_ : AuroraArrowRecord(), bodies);
    for (const auto& bubble : bubbles_) {
        const auto slot = std::ranges::find(slots_, bubble.get(), &Slot::bubble);
        const auto index = static_cast<std::size_t>(slot - slots_.begin());
        if (index < places.size() && bubble->window() != nullptr && !bubble->isLeaving()) {
            bubble->moveTo(places[index]);
        }
    }
}

}  // namespace uilib::qt
