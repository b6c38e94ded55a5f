#pragma once

#include "platform/ui/Color.h"
#include "platform/ui/Font.h"
#include "platform/ui/View.h"

#include <string>
#include <utility>

namespace platform::ui {

/// A text in one font and one colour.
struct AttributedString {
    std::string string;
    Font font;
    Color foregroundColor;
};

/// Shows a text, wrapped at the width of its frame, from the top left (top right in right-to-left languages).
class TextField final : public View {
public:
    using View::View;

    const AttributedString& attributedStringValue() const { return value_; }
    void setAttributedStringValue(AttributedString value) { value_ = std::move(value); }

    bool drawsBackground() const { return drawsBackground_; }
    void setDrawsBackground(bool draws) { drawsBackground_ = draws; }

    bool isBordered() const { return bordered_; }
    void setBordered(bool bordered) { bordered_ = bordered; }

    bool isSelectable() const { return selectable_; }
    void setSelectable(bool selectable) { selectable_ = selectable; }

    bool isEditable() const { return editable_; }
    void setEditable(bool editable) { editable_ = editable; }

    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }

private:
    AttributedString value_;
    bool drawsBackground_ = true;
    bool bordered_ = true;
    bool selectable_ = true;
    bool editable_ = true;
    bool enabled_ = true;
};

}  // namespace platform::ui
