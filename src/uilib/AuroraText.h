#pragma once

#include "platform/ui/Font.h"
#include "platform/ui/Geometry.h"
#include "platform/ui/TextField.h"

#include <cstdint>
#include <string>

/// The font of the house family by name and size in points; if that family is not installed, text is measured and drawn
/// in the desktop's own at the same size.
platform::ui::Font fontWithTamsaFontName(const std::string& name, double size);

/// The size, in points, that the field's text needs in its font when wrapped at `width` points. Main thread.
platform::ui::Size getTextContainerSize(const platform::ui::TextField& field, std::int32_t width);
