#include "support/FakeAuroraBubbleMaker.h"

#include <algorithm>
#include <utility>

namespace test {

std::shared_ptr<CAuroraBubble> FakeAuroraBubbleMaker::makeBubbleWithDescriptionExternalClientView(
    std::shared_ptr<const CAuroraBubbleDescription> description, std::shared_ptr<platform::ui::View> clientView) {
    bubbles_.push_back(std::make_shared<FakeAuroraBubble>(std::move(description), std::move(clientView)));
    if (onMake_) {
        onMake_(*bubbles_.back());
    }
    return bubbles_.back();
}

void FakeAuroraBubbleMaker::postWillClose(const FakeAuroraBubble& bubble) {
    announced_.push_back(&bubble);
    // The object is the window as its users know it: the interface's address.
    center_.post({platform::WindowWillCloseNotification, static_cast<const CAuroraBubble*>(&bubble)});
}

std::size_t FakeAuroraBubbleMaker::finishClosing() {
    std::size_t count = 0;
    const auto bubbles = bubbles_;
    for (const auto& bubble : bubbles) {
        if (bubble->closeCount() > 0 && !isAnnounced(*bubble)) {
            postWillClose(*bubble);
            ++count;
        }
    }
    return count;
}

void FakeAuroraBubbleMaker::closeAll() {
    const auto bubbles = bubbles_;
    for (const auto& bubble : bubbles) {
        if (!isAnnounced(*bubble)) {
            postWillClose(*bubble);
        }
    }
}

bool FakeAuroraBubbleMaker::isAnnounced(const FakeAuroraBubble& bubble) const {
    return std::find(announced_.begin(), announced_.end(), &bubble) != announced_.end();
}

}  // namespace test
