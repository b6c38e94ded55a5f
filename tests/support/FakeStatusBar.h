#pragma once

#include "platform/StatusBar.h"
#include "support/Sequence.h"

#include <memory>
#include <utility>
#include <vector>

namespace test {

class FakeStatusItem final : public platform::StatusItem {
public:
    explicit FakeStatusItem(double length) : length_(length) {}

    std::shared_ptr<platform::ui::View> view() const override { return view_; }
    void setView(std::shared_ptr<platform::ui::View> view) override { view_ = std::move(view); }
    void setHighlightMode(bool highlights) override { highlights_ = highlights; }

    double length() const { return length_; }
    bool highlightMode() const { return highlights_; }

private:
    const double length_;
    std::shared_ptr<platform::ui::View> view_;
    bool highlights_ = false;
};

/// Keeps every item accessible to the test.
class FakeStatusBar final : public platform::StatusBar {
public:
    std::shared_ptr<platform::StatusItem> statusItemWithLength(double length) override {
        Sequence::add("status bar: item");
        items_.push_back(std::make_shared<FakeStatusItem>(length));
        return items_.back();
    }

    const std::vector<std::shared_ptr<FakeStatusItem>>& items() const { return items_; }

private:
    std::vector<std::shared_ptr<FakeStatusItem>> items_;
};

}  // namespace test
