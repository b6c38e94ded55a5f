#pragma once

#include "platform/NotificationCenter.h"
#include "uilib/CAuroraBubble.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace test {

/// A bubble that records the calls to it and announces its closing when the test asks for it.
class FakeAuroraBubble final : public CAuroraBubble {
public:
    struct Showing {
        platform::ui::Point point;
        std::shared_ptr<platform::ui::View> anchor;
        int option;
    };

    FakeAuroraBubble(std::shared_ptr<const CAuroraBubbleDescription> description,
                     std::shared_ptr<platform::ui::View> clientView)
        : description_(std::move(description)), clientView_(std::move(clientView)) {}

    void showAtAndBindInViewOption(const platform::ui::Point& point, const std::shared_ptr<platform::ui::View>& anchor,
                                   int option) override {
        showings_.push_back({point, anchor, option});
        if (onShow_) {
            onShow_();
        }
    }

    /// Called from inside each call that shows the bubble.
    void setOnShow(std::function<void()> onShow) { onShow_ = std::move(onShow); }

    std::shared_ptr<platform::ui::View> clientView() const override { return clientView_; }

    void close() override { ++closeCount_; }

    const std::shared_ptr<const CAuroraBubbleDescription>& description() const { return description_; }

    /// Every call that showed the bubble, in order.
    const std::vector<Showing>& showings() const { return showings_; }

    /// How often close was called.
    int closeCount() const { return closeCount_; }

private:
    const std::shared_ptr<const CAuroraBubbleDescription> description_;
    const std::shared_ptr<platform::ui::View> clientView_;
    std::vector<Showing> showings_;
    std::function<void()> onShow_;
    int closeCount_ = 0;
};

/// Keeps every bubble accessible to the test; none closes by itself.
class FakeAuroraBubbleMaker final : public AuroraBubbleMaker {
public:
    explicit FakeAuroraBubbleMaker(platform::NotificationCenter& center) : center_(center) {}

    std::shared_ptr<CAuroraBubble>
    makeBubbleWithDescriptionExternalClientView(std::shared_ptr<const CAuroraBubbleDescription> description,
                                                std::shared_ptr<platform::ui::View> clientView) override;

    /// Called for each bubble that is made, before anyone else has it.
    void setOnMake(std::function<void(FakeAuroraBubble&)> onMake) { onMake_ = std::move(onMake); }

    /// In the order of creation.
    const std::vector<std::shared_ptr<FakeAuroraBubble>>& bubbles() const { return bubbles_; }

    /// Posts the will-close notification of one bubble, whether or not close was called (a bubble that has faded out
    /// closes by itself).
    void postWillClose(const FakeAuroraBubble& bubble);

    /// Posts the will-close notification, once, of every bubble for which close was called. Returns their number.
    std::size_t finishClosing();

    /// Posts the will-close notification, once, of every bubble: the user has closed them all.
    void closeAll();

private:
    bool isAnnounced(const FakeAuroraBubble& bubble) const;

    platform::NotificationCenter& center_;
    std::vector<std::shared_ptr<FakeAuroraBubble>> bubbles_;
    std::function<void(FakeAuroraBubble&)> onMake_;
    std::vector<const FakeAuroraBubble*> announced_;
};

}  // namespace test
