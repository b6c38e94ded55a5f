#pragma once

#include "platform/ui/TextMeasure.h"

namespace platform::qt {

/// Measures with the same layout that the bubble kit draws with. Needs the application object.
class QtTextMeasure final : public ui::TextMeasure {
public:
    ui::Size sizeOfText(const std::string& text, const ui::Font& font, double width) const override;
};

}  // namespace platform::qt
