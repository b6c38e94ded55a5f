#pragma once

#include "uilib/CAuroraBubbleDescription.h"
#include "uilib/qt/BubblePlacement.h"

#include <QPainterPath>
#include <QRectF>

class QPainter;

namespace uilib::qt {

/// Room that the shadow takes on every side. Points.
constexpr int shadowExtent = 12;

/// The outline of a bubble with the body `body`: rounded corners, and an arrow at `edge` with its tip `tip` points from
/// the body's left. Near a corner the arrow leans, so that its tip keeps its position and its base stays on the edge.
QPainterPath bubbleOutline(const QRectF& body, double cornerRadius, const AuroraArrowRecord& arrow, ArrowEdge edge,
                           double tip);

/// A soft shadow around `outline`, a little below it.
void drawShadow(QPainter& painter, const QPainterPath& outline);

}  // namespace uilib::qt
