#pragma once

#include "platform/ui/Geometry.h"
#include "uilib/CAuroraBubbleDescription.h"

#include <optional>
#include <vector>

/// Placement of bubbles. Desktop coordinates: x and y of a rectangle are its top left corner, y growing downward.
namespace uilib::qt {

using platform::ui::Rect;
using platform::ui::Size;

/// Distance that bubbles keep from each other and from the edges of the screen. Points.
constexpr double bubbleGap = 8;

enum class ArrowEdge { none, top, bottom };

enum class Corner { topRight, bottomRight };

/// The right corner at the edge where panels reserve room; the bottom one only if the top is free.
Corner cornerBesidePanel(const Rect& screen, const Rect& available);

/// The anchor of the bubbles, and the area they must stay in.
struct Surroundings {
    /// The status icon; absent if there is none, or if its position is unknown.
    std::optional<Rect> icon;
    /// The part of the screen that panels leave free.
    Rect available;
    /// Where bubbles without an icon go: beside the panel that would hold it.
    Corner corner = Corner::topRight;
};

struct Place {
    /// The bubble's body, without arrow and shadow.
    Rect body;
    ArrowEdge arrow = ArrowEdge::none;
    /// The tip's distance from the body's left edge.
    double arrowTip = 0;
};

/// Places bodies of the given sizes, the one shown longest first. The first one is placed below the icon, its arrow
/// touching the middle of the icon's lower edge, or above it if there is no room below; it is moved sideways to stay on
/// the screen. Without an icon it is placed in the corner. Each further one follows the one before; a full column
/// continues to its left, then to its right. No body covers another: if the screen is full, the list of places ends
/// early, but it always has the first. The place of a body depends only on those before it.
std::vector<Place> placeBubbles(const Surroundings& surroundings, const AuroraArrowRecord& arrow,
                                const std::vector<Size>& bodies);

}  // namespace uilib::qt
