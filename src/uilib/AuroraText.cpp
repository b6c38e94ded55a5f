#include "uilib/AuroraText.h"

#include "platform/ui/TextMeasure.h"

platform::ui::Font fontWithTamsaFontName(const std::string& name, double size) {
    return {name, size};
}

platform::ui::Size getTextContainerSize(const platform::ui::TextField& field, std::int32_t width) {
    const auto& value = field.attributedStringValue();
    return platform::ui::TextMeasure::standard().sizeOfText(value.string, value.font, width);
}
