#include "uilib/qt/BubbleShape.h"

#include <QColor>
#include <QPainter>
#include <QPen>
#include <algorithm>

namespace uilib::qt {

namespace {

constexpr double shadowDrop = 2;
constexpr double shadowDarkness = 0.36;

}  // namespace

QPainterPath bubbleOutline(const QRectF& body, double cornerRadius, const AuroraArrowRecord& arrow, ArrowEdge edge,
                           double tip) {
    QPainterPath outline;
    outline.addRoundedRect(body, cornerRadius, cornerRadius);
    if (edge == ArrowEdge::none) {
        return outline;
    }
    const double half = arrow.width / 2;
    const double tipX = body.left() + std::clamp(tip, 0.0, body.width());
    const double least = body.left() + cornerRadius + half;
    const double most = body.right() - cornerRadius - half;
    const double base = std::max(least, std::min(tipX, most));
    const bool isTop = edge == ArrowEdge::top;
    // Slightly inside the body, so that no seam shows where the two meet.
    const double baseY = isTop ? body.top() + 0.5 : body.bottom() - 0.5;
    const double tipY = isTop ? body.top() - arrow.height : body.bottom() + arrow.height;

    QPainterPath triangle;
    triangle.moveTo(base - half, baseY);
    triangle.lineTo(tipX, tipY);
    triangle.lineTo(base + half, baseY);
    triangle.closeSubpath();
    return outline.united(triangle);
}

void drawShadow(QPainter& painter, const QPainterPath& outline) {
    painter.save();
    painter.translate(0, shadowDrop);
    painter.setBrush(Qt::NoBrush);
    // Strokes of growing width, each faint, add up to a soft falloff, so no blur has to be computed.
    const double darkness = 2 * shadowDarkness / shadowExtent;
    double light = 1;
    for (int width = 1; width <= shadowExtent - static_cast<int>(shadowDrop); ++width) {
        const double fall = 1.0 - static_cast<double>(width) / shadowExtent;
        QColor shade(Qt::black);
        shade.setAlphaF(static_cast<float>(darkness * fall * fall));
        light *= 1 - darkness * fall * fall;
        QPen pen(shade, 2.0 * width);
        pen.setJoinStyle(Qt::RoundJoin);
        painter.strokePath(outline, pen);
    }
    // Strokes fall off inward as well, and the body leaves the lowest part of that visible.
    QColor darkest(Qt::black);
    darkest.setAlphaF(static_cast<float>(1 - light));
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillPath(outline, darkest);
    painter.restore();
}

}  // namespace uilib::qt
