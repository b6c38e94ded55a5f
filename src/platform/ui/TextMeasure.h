#pragma once

#include "platform/ui/Font.h"
#include "platform/ui/Geometry.h"

#include <string>

namespace platform::ui {

/// Measures texts as the drawing provider will draw them. Main thread.
class TextMeasure {
public:
    virtual ~TextMeasure() = default;

    /// The size, in points, that `text` needs in `font` when it is wrapped at `width` points; a width no text reaches
    /// gives the size of its lines unwrapped. A fraction is not rounded.
    virtual Size sizeOfText(const std::string& text, const Font& font, double width) const = 0;

    /// The measure that the provider installed; until then every text has size 0.
    static const TextMeasure& standard();

    /// Installs `measure`, which must outlive every use; null takes it back.
    static void setStandard(const TextMeasure* measure);
};

}  // namespace platform::ui
