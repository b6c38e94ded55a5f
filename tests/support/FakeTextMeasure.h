#pragma once

#include "platform/ui/TextMeasure.h"

#include <map>
#include <string>
#include <vector>

namespace test {

/// Gives each text the size that the test sets. Installs itself as the standard measure for its lifetime.
class FakeTextMeasure final : public platform::ui::TextMeasure {
public:
    struct Question {
        std::string text;
        platform::ui::Font font;
        double width;

        friend bool operator==(const Question&, const Question&) = default;
    };

    FakeTextMeasure() { setStandard(this); }
    ~FakeTextMeasure() override { setStandard(nullptr); }
    FakeTextMeasure(const FakeTextMeasure&) = delete;
    FakeTextMeasure& operator=(const FakeTextMeasure&) = delete;

    void setSize(const std::string& text, const platform::ui::Size& size) { sizes_[text] = size; }

    /// For every text without a size of its own; one line of 50 by 14 by default.
    void setDefaultSize(const platform::ui::Size& size) { defaultSize_ = size; }

    platform::ui::Size sizeOfText(const std::string& text, const platform::ui::Font& font,
                                  double width) const override {
        questions_.push_back({text, font, width});
        const auto found = sizes_.find(text);
        return found == sizes_.end() ? defaultSize_ : found->second;
    }

    /// In order.
    const std::vector<Question>& questions() const { return questions_; }

private:
    std::map<std::string, platform::ui::Size> sizes_;
    platform::ui::Size defaultSize_{50, 14};
    mutable std::vector<Question> questions_;
};

}  // namespace test
