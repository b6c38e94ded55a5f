#include "uilib/qt/BubblePlacement.h"

#include <algorithm>
#include <limits>

namespace uilib::qt {

namespace {

double right(const Rect& rect) {
    return rect.x + rect.width;
}

double bottom(const Rect& rect) {
    return rect.y + rect.height;
}

/// As close to `wanted` as fits between the screen's edges; if it does not fit, the left edge wins.
double pushedInside(double wanted, double width, const Rect& available) {
    return std::max(available.x + bubbleGap, std::min(wanted, right(available) - bubbleGap - width));
}

/// Columns of bubbles that grow away from the first one.
class Columns {
public:
    Columns(const Rect& available, bool growsUp, double start)
        : available_(available), growsUp_(growsUp), start_(start), next_(start) {}

    /// Absent if there is no room left.
    std::optional<Rect> add(const Size& body, double wantedLeft) {
        const bool isFirst = leftmost_ > rightmost_;
        if (!isFirst && !fits(body.height) && next_ != start_) {
            beginAt(side_ == Side::right ? Side::right : Side::left,
                    side_ == Side::right ? rightmost_ + bubbleGap : leftmost_ - bubbleGap);
        }
        auto left = leftOf(body.width, wantedLeft);
        if (!left && side_ == Side::left) {
            beginAt(Side::right, rightmost_ + bubbleGap);
            left = leftOf(body.width, wantedLeft);
        }
        if (!left) {
            return std::nullopt;
        }
        leftmost_ = std::min(leftmost_, *left);
        rightmost_ = std::max(rightmost_, *left + body.width);
        const double top = growsUp_ ? next_ - body.height : next_;
        next_ = growsUp_ ? top - bubbleGap : top + body.height + bubbleGap;
        return Rect{*left, top, body.width, body.height};
    }

private:
    enum class Side { middle, left, right };

    void beginAt(Side side, double edge) {
        next_ = start_;
        side_ = side;
        edge_ = edge;
    }

    std::optional<double> leftOf(double width, double wanted) const {
        switch (side_) {
        case Side::left:
            return edge_ - width < available_.x + bubbleGap ? std::nullopt : std::optional(edge_ - width);
        case Side::right:
            return edge_ + width > right(available_) - bubbleGap ? std::nullopt : std::optional(edge_);
        case Side::middle:
            break;
        }
        return pushedInside(wanted, width, available_);
    }

    bool fits(double height) const {
        return growsUp_ ? next_ - height >= available_.y : next_ + height <= bottom(available_);
    }

    const Rect available_;
    const bool growsUp_;
    const double start_;
    double next_;
    double leftmost_ = std::numeric_limits<double>::max();
    double rightmost_ = std::numeric_limits<double>::lowest();
    Side side_ = Side::middle;
    // The edge of the earlier columns, next to which the present one stands.
    double edge_ = 0;
};

std::vector<Place> placeInCorner(const Surroundings& surroundings, const std::vector<Size>& bodies) {
    const auto& available = surroundings.available;
    const bool growsUp = surroundings.corner == Corner::bottomRight;
    Columns columns(available, growsUp, growsUp ? bottom(available) - bubbleGap : available.y + bubbleGap);
    std::vector<Place> places;
    places.reserve(bodies.size());
    for (const auto& size : bodies) {
        const auto body = columns.add(size, right(available) - bubbleGap - size.width);
        if (!body) {
            break;
        }
        places.push_back({*body});
    }
    return places;
}

}  // namespace

Corner cornerBesidePanel(const Rect& screen, const Rect& available) {
    const bool isTopFree = available.y <= screen.y;
    const bool isBottomTaken = bottom(available) < bottom(screen);
    return isTopFree && isBottomTaken ? Corner::bottomRight : Corner::topRight;
}

std::vector<Place> placeBubbles(const Surroundings& surroundings, const AuroraArrowRecord& arrow,
                                const std::vector<Size>& bodies) {
    const auto& available = surroundings.available;
    if (bodies.empty() || !surroundings.icon) {
        return placeInCorner(surroundings, bodies);
    }
    const auto& icon = *surroundings.icon;
    const double tip = icon.x + icon.width / 2;
    const double below = bottom(icon) + arrow.height;
    const bool growsUp = below + bodies.front().height + bubbleGap > bottom(available);

    std::vector<Place> places;
    places.reserve(bodies.size());
    Columns columns(available, growsUp, growsUp ? icon.y - arrow.height : below);
    for (const auto& size : bodies) {
        const auto body = columns.add(size, tip - size.width / 2);
        if (!body) {
            break;
        }
        Place place{*body};
        if (places.empty()) {
            place.arrow = growsUp ? ArrowEdge::bottom : ArrowEdge::top;
            place.arrowTip = tip - place.body.x;
        }
        places.push_back(place);
    }
    return places;
}

}  // namespace uilib::qt
