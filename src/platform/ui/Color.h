#pragma once

namespace platform::ui {

/// sRGB, each component from 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    static constexpr Color whiteColor() { return {1, 1, 1, 1}; }
    static constexpr Color clearColor() { return {0, 0, 0, 0}; }

    friend bool operator==(const Color&, const Color&) = default;
};

}  // namespace platform::ui
