#pragma once

#include <string>

namespace platform::ui {

/// A font by family name and size in points. An empty family is the desktop's own; a family that is not installed is
/// replaced by the desktop's own when text is measured or drawn.
struct Font {
    std::string family;
    double size = 12.0;

    static Font systemFontOfSize(double size) { return {{}, size}; }

    friend bool operator==(const Font&, const Font&) = default;
};

}  // namespace platform::ui
