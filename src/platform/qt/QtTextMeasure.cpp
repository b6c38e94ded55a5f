#include "platform/qt/QtTextMeasure.h"

#include "platform/qt/TextLines.h"

namespace platform::qt {

ui::Size QtTextMeasure::sizeOfText(const std::string& text, const ui::Font& font, double width) const {
    const auto size = TextLines(QString::fromStdString(text), toolkitFont(font), width).size();
    return {size.width(), size.height()};
}

}  // namespace platform::qt
