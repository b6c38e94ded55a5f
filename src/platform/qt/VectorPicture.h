#pragma once

#include "platform/ui/Image.h"

#include <QIcon>
#include <QRectF>
#include <memory>

class QPainter;

namespace platform::qt {

/// The drawing of an image of the view model, sharp at every size. A file that cannot be read draws nothing.
class VectorPicture final {
public:
    explicit VectorPicture(const ui::Image& image);
    ~VectorPicture();

    /// The drawing's own size; empty if there is no drawing.
    QSizeF size() const;

    /// Draws as large as fits in `frame`, centred, with its proportions kept.
    void draw(QPainter& painter, const QRectF& frame) const;

private:
    struct Drawing;
    const std::unique_ptr<Drawing> drawing_;
};

/// The same drawing as an icon of any size.
QIcon vectorIcon(const ui::Image& image);

}  // namespace platform::qt
