#include "uilib/qt/QtAuroraBubble.h"

#include "uilib/qt/BubbleStack.h"

#include <chrono>
#include <utility>

namespace uilib::qt {

namespace {

AuroraFadeRecord fadeOf(const CAuroraBubbleDescription& description) {
    return description.bFade() && description.fadeDescription() ? *description.fadeDescription() : AuroraFadeRecord();
}

}  // namespace

QtAuroraBubble::QtAuroraBubble(platform::NotificationCenter& center, std::shared_ptr<BubbleStack> stack,
                               std::shared_ptr<const CAuroraBubbleDescription> description,
                               std::shared_ptr<platform::ui::View> clientView)
    : center_(center),
      stack_(std::move(stack)),
      description_(std::move(description)),
      clientView_(std::move(clientView)),
      fade_(fadeOf(*description_)),
      clock_([this] { close(); }),
      window_(description_, clientView_,
              {[this](bool isAttended) { clock_.setHeld(isAttended); }, [this] { close(); }}) {}

void QtAuroraBubble::showAtAndBindInViewOption(const platform::ui::Point& point,
                                               const std::shared_ptr<platform::ui::View>& anchor, int) {
    if (phase_ != Phase::made) {
        return;
    }
    phase_ = Phase::shown;
    point_ = point;
    anchor_ = anchor;
    stack_->add(shared_from_this());
    window_.fadeIn(fade_.fadeIn, [this] { startClock(); });
}

void QtAuroraBubble::startClock() {
    if (phase_ == Phase::shown && description_->bFade()) {
        clock_.start(std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(fade_.shown)));
    }
}

void QtAuroraBubble::close() {
    if (phase_ != Phase::shown) {
        return;
    }
    phase_ = Phase::closing;
    clock_.stop();
    window_.fadeOut(fade_.fadeOut, [this] { announceAndLeave(); });
}

void QtAuroraBubble::announceAndLeave() {
    phase_ = Phase::closed;
    // The stack's may be the last hold on this object.
    const auto keptForThisCall = shared_from_this();
    center_.post({platform::WindowWillCloseNotification, static_cast<const CAuroraBubble*>(this)});
    stack_->remove(*this);
}

}  // namespace uilib::qt
