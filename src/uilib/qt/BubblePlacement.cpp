#include "uilib/qt/BubblePlacement.h"

#include <algorithm>

namespace uilib::qt {

namespace {

double right(const Rect& rect) {
    return rect.x + rect.width;
}

double bottom(const Rect& rect) {
    return rect.y + rect.height;
}

/// As close to `wanted` as fits between the screen's edges; the left edge wins where nothing fits.
double pushedInside(double wanted, double width, const Rect& available) {
    return std::max(available.x + kBubbleGap, std::min(wanted, right(available) - kBubbleGap - width));
}

/// One column of bubbles that grows away from where it hangs.
class Column {
public:
    Column(const Rect& available, bool growsUp, double start)
        : available_(available), growsUp_(growsUp), start_(start), next_(start) {}

    Rect add(const Size& body, double wantedLeft) {
        if (!fits(body.height) && next_ != start_) {
            shift_ += widest_ + kBubbleGap;
            widest_ = 0;
            next_ = start_;
        }
        widest_ = std::max(widest_, body.width);
        const double top = growsUp_ ? next_ - body.height : next_;
        next_ = growsUp_ ? top - kBubbleGap : top + body.height + kBubbleGap;
        const double left = pushedInside(wantedLeft, body.width, available_) - shift_;
        return {pushedInside(left, body.width, available_), top, body.width, body.height};
    }

private:
    bool fits(double height) const {
        return growsUp_ ? next_ - height >= available_.y : next_ + height <= bottom(available_);
    }

    const Rect available_;
    const bool growsUp_;
    const double start_;
    double next_;
    double shift_ = 0;
    double widest_ = 0;
};

std::vector<Place> placeInCorner(const Rect& available, const std::vector<Size>& bodies) {
    std::vector<Place> places;
    places.reserve(bodies.size());
    Column column(available, false, available.y + kBubbleGap);
    for (const auto& body : bodies) {
        places.push_back({column.add(body, right(available) - kBubbleGap - body.width)});
    }
    return places;
}

}  // namespace

std::vector<Place> placeBubbles(const Surroundings& surroundings, const AuroraArrowRecord& arrow,
                                const std::vector<Size>& bodies) {
    const auto& available = surroundings.available;
    if (bodies.empty() || !surroundings.icon) {
        return placeInCorner(available, bodies);
    }
    const auto& icon = *surroundings.icon;
    const double tip = icon.x + icon.width / 2;
    const double below = bottom(icon) + arrow.height;
    const bool growsUp = below + bodies.front().height + kBubbleGap > bottom(available);

    std::vector<Place> places;
    places.reserve(bodies.size());
    Column column(available, growsUp, growsUp ? icon.y - arrow.height : below);
    for (const auto& body : bodies) {
        Place place{column.add(body, tip - body.width / 2)};
        if (places.empty()) {
            place.arrow = growsUp ? ArrowEdge::bottom : ArrowEdge::top;
            place.arrowTip = tip - place.body.x;
        }
        places.push_back(place);
    }
    return places;
}

}  // namespace uilib::qt
