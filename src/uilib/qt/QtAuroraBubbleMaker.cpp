#include "uilib/qt/QtAuroraBubbleMaker.h"

#include "platform/qt/QtStatusBar.h"
#include "uilib/qt/BubbleStack.h"
#include "uilib/qt/QtAuroraBubble.h"

#include <utility>

namespace uilib::qt {

QtAuroraBubbleMaker::QtAuroraBubbleMaker(platform::NotificationCenter& center, platform::qt::QtStatusBar& statusBar)
    : center_(center), statusBar_(statusBar), stack_(std::make_shared<BubbleStack>(statusBar)) {
    statusBar_.setItemsMovedHandler([stack = stack_] { stack->arrange(); });
    statusBar_.setActivatedHandler([stack = stack_] { stack->giveKeyboard(); });
}

QtAuroraBubbleMaker::~QtAuroraBubbleMaker() {
    statusBar_.setItemsMovedHandler(nullptr);
    statusBar_.setActivatedHandler(nullptr);
}

void QtAuroraBubbleMaker::prepare() {
    stack_->learnTaste();
}

void QtAuroraBubbleMaker::setAllGoneHandler(std::function<void()> handler) {
    stack_->setAllGoneHandler(std::move(handler));
}

std::shared_ptr<CAuroraBubble> QtAuroraBubbleMaker::makeBubbleWithDescriptionExternalClientView(
    std::shared_ptr<const CAuroraBubbleDescription> description, std::shared_ptr<platform::ui::View> clientView) {
    return std::make_shared<QtAuroraBubble>(center_, stack_, std::move(description), std::move(clientView));
}

}  // namespace uilib::qt
