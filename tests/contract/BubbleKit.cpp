#include "contract/BubbleKit.h"

#include "KTRMeetingRecordingBubbleButtonModel.h"
#include "contract/EventLoop.h"

#include <QApplication>
#include <QCoreApplication>
#include <QEnterEvent>
#include <QKeyEvent>
#include <algorithm>

namespace test {

BubbleKit::BubbleKit() : maker(std::make_unique<uilib::qt::QtAuroraBubbleMaker>(center, statusBar)) {
    maker->prepare();
    platform::ui::TextMeasure::setStandard(&measure);
    platform::ui::ImageCatalog::setStandard(&images);
    center.addObserver(this, platform::WindowWillCloseNotification,
                       [this](const platform::Notification& notice) { closed.push_back(notice.object); });
}

BubbleKit::~BubbleKit() {
    // The parts of the kit must outlive every bubble.
    for (const auto& opened : opened_) {
        if (const auto bubble = opened.lock()) {
            bubble->close();
        }
    }
    turnUntil([this] {
        return std::all_of(opened_.begin(), opened_.end(), [](const auto& opened) { return opened.expired(); });
    });
    center.removeObserver(this);
    platform::ui::TextMeasure::setStandard(nullptr);
    platform::ui::ImageCatalog::setStandard(nullptr);
}

std::shared_ptr<KTRMeetingRecordingSavedBubbleView>
BubbleKit::makeView(const std::string& text, const std::vector<std::string>& buttons, const std::string& icon) {
    auto view = std::make_shared<KTRMeetingRecordingSavedBubbleView>();
    view->setContentString(text);
    view->setIconImage(images.imageNamed(icon));
    std::vector<std::shared_ptr<KTRMeetingRecordingBubbleButtonModel>> models;
    for (const auto& title : buttons) {
        auto model = std::make_shared<KTRMeetingRecordingBubbleButtonModel>();
        model->setButtonTitle(title);
        model->setFunction([this, title] { pressed.push_back(title); });
        models.push_back(model);
    }
    view->setButtonModelArray(models);
    view->spawnUI();
    return view;
}

std::shared_ptr<CAuroraBubbleDescription> BubbleKit::makeDescription(const AuroraFadeRecord& fade) const {
    auto description = CAuroraBubbleDescription::defaultDescription();
    description->setKind(bubbleKind);
    description->setBHasArrow(true);
    description->setArrowDescription(description->packArrowDescription({6, 20, 10, 40, 40}));
    description->setBFade(true);
    description->setFadeDescription(description->packFadeDescription(fade));
    description->setBgColor({0, 0, 0, 1});
    description->setFCornerRadius(4);
    description->setBorderColor(platform::ui::Color::clearColor());
    return description;
}

std::shared_ptr<CAuroraBubble> BubbleKit::open(const std::shared_ptr<platform::ui::View>& view,
                                               const AuroraFadeRecord& fade) {
    const auto bubble = maker->makeBubbleWithDescriptionExternalClientView(makeDescription(fade), view);
    bubble->showAtAndBindInViewOption({0, 0}, nullptr, CAuroraBubble::hangBelow);
    opened_.push_back(bubble);
    return bubble;
}

std::weak_ptr<CAuroraBubble> BubbleKit::show(const std::shared_ptr<platform::ui::View>& view, double shown) {
    const auto count = windows().size();
    const auto bubble = open(view, {0.05, shown, 0.05});
    EXPECT_TRUE(turnUntil([&] { return windows().size() == count + 1; }));
    turnFor(std::chrono::milliseconds(100));
    return bubble;
}

std::vector<QWidget*> BubbleKit::windows() {
    std::vector<QWidget*> visible;
    const auto widgets = QApplication::topLevelWidgets();
    for (auto* widget : widgets) {
        if (widget->isVisible() && widget->objectName() == QLatin1String("bubble")) {
            visible.push_back(widget);
        }
    }
    return visible;
}

void BubbleKit::activate(QWidget* window) {
    // Off-screen no platform ever activates a window, so activateWindow(), which Qt 6.5 asks for, does nothing.
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    QApplication::setActiveWindow(window);
    QT_WARNING_POP
}

QWidget* BubbleKit::onlyWindow() {
    const auto all = windows();
    EXPECT_EQ(all.size(), 1U);
    return all.size() == 1 ? all.front() : nullptr;
}

void BubbleKit::enter(QWidget* window) {
    QEnterEvent event(QPointF(100, 40), QPointF(100, 40), QPointF(100, 40));
    QCoreApplication::sendEvent(window, &event);
}

void BubbleKit::leave(QWidget* window) {
    QEvent event(QEvent::Leave);
    QCoreApplication::sendEvent(window, &event);
}

void BubbleKit::press(QWidget* window, int key) {
    QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &down);
}

bool BubbleKit::waitUntilClosed(std::size_t count, std::chrono::milliseconds limit) const {
    return turnUntil([&] { return closed.size() >= count; }, limit);
}

}  // namespace test
