#pragma once

#include "platform/ui/Font.h"
#include "platform/ui/Geometry.h"

#include <string>

namespace platform::ui {

/// Measures texts as the drawing provider draws them. Main thread.
class TextMeasure {
public:
    virtual ~TextMeasure() = default;

    /// The size, in points, that `text` needs in `font` when it is wrapped at `width` points; if no line is that wide,
    /// the size of the unwrapped lines. Fractions are not rounded.
    virtual Size sizeOfText(const std::string& text, const Font& font, double width) const = 0;

    /// The measure that the provider installed; by default every text has size 0.
    static const TextMeasure& standard();

    /// Installs `measure`, which must outlive every use; null removes it.
    static void setStandard(const TextMeasure* measure);
};

}  // namespace platform::ui
