#include "platform/qt/TextLines.h"

#include <QFontDatabase>
#include <QPainter>
#include <QTextOption>
#include <algorithm>

namespace platform::qt {

namespace {

// Text positions are fixed-point numbers inside the toolkit; wider lines would overflow.
constexpr double widestLine = 4.0e6;

}  // namespace

QFont toolkitFont(const ui::Font& font) {
    auto chosen = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    const auto family = QString::fromStdString(font.family);
    if (!family.isEmpty() && QFontDatabase::hasFamily(family)) {
        chosen = QFont(family);
    }
    chosen.setPixelSize(std::max(1, qRound(font.size)));
    return chosen;
}

TextLines::TextLines(const QString& text, const QFont& font, double width) {
    auto lines = text;
    lines.replace(QLatin1Char('\n'), QChar::LineSeparator);
    layout_.setText(lines);
    layout_.setFont(font);

    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(Qt::LayoutDirectionAuto);
    layout_.setTextOption(option);

    const auto lineWidth = std::clamp(width, 1.0, widestLine);
    layout_.beginLayout();
    double height = 0;
    double widest = 0;
    for (auto line = layout_.createLine(); line.isValid(); line = layout_.createLine()) {
        line.setLeadingIncluded(true);
        line.setLineWidth(lineWidth);
        line.setPosition({0, height});
        height += line.height();
        widest = std::max(widest, line.naturalTextWidth());
    }
    layout_.endLayout();
    size_ = {widest, height};
}

void TextLines::draw(QPainter& painter, const QRectF& frame, const QColor& color) const {
    painter.setPen(color);
    layout_.draw(&painter, frame.topLeft());
}

}  // namespace platform::qt
