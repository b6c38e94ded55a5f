#pragma once

#include "platform/ui/Geometry.h"
#include "uilib/CAuroraBubbleDescription.h"

#include <optional>
#include <vector>

/// Where bubbles go. Desktop coordinates: x and y of a rectangle are its top left corner, y growing downward.
namespace uilib::qt {

using platform::ui::Rect;
using platform::ui::Size;

/// Distance that bubbles keep from each other and from the edges of the screen. Points.
constexpr double kBubbleGap = 8;

enum class ArrowEdge { none, top, bottom };

enum class Corner { topRight, bottomRight };

/// The right corner at the edge where panels take room from the screen: the bottom one only where the top is free.
Corner cornerBesidePanel(const Rect& screen, const Rect& available);

/// What bubbles hang from and must stay inside.
struct Surroundings {
    /// The status icon; absent where there is none, or where its place is unknown.
    std::optional<Rect> icon;
    /// The part of the screen that panels leave free.
    Rect available;
    /// Where bubbles without an icon stand: beside the panel that would hold it.
    Corner corner = Corner::topRight;
};

struct Place {
    /// The bubble's body, without arrow and shadow.
    Rect body;
    ArrowEdge arrow = ArrowEdge::none;
    /// The tip's distance from the body's left edge.
    double arrowTip = 0;
};

/// Places bodies of the given sizes, the longest shown first. The first hangs below the icon, its arrow touching the
/// middle of the icon's lower edge, or stands above it where there is no room below; it is pushed sideways to stay on
/// the screen. Without an icon it stands in the corner. Each further one follows the one before; a full column goes on
/// to its left, then to its right. None covers another: where the screen is full, the places end early, but never
/// before the first. The place of a body depends on those before it alone.
std::vector<Place> placeBubbles(const Surroundings& surroundings, const AuroraArrowRecord& arrow,
                                const std::vector<Size>& bodies);

}  // namespace uilib::qt
