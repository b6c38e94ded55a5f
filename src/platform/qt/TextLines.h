#pragma once

#include "platform/ui/Font.h"

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <QTextLayout>

class QPainter;

namespace platform::qt {

/// The toolkit's font for a font of the view model: at scale 1 one point is one pixel.
QFont toolkitFont(const ui::Font& font);

/// A text broken into lines at a width. Texts are measured and drawn only through this class, so that a measured text
/// fits.
class TextLines final {
public:
    TextLines(const QString& text, const QFont& font, double width);

    QSizeF size() const { return size_; }

    /// Line breaks and glyphs of the text.
    const QTextLayout& layout() const { return layout_; }

    /// Draws from the top leading corner of `frame`.
    void draw(QPainter& painter, const QRectF& frame, const QColor& color) const;

private:
    QTextLayout layout_;
    QSizeF size_;
};

}  // namespace platform::qt
