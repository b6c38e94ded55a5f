#include "platform/qt/VectorPicture.h"

#include "platform/SystemLog.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace platform::qt {

namespace {

class VectorIconEngine final : public QIconEngine {
public:
    explicit VectorIconEngine(std::shared_ptr<const VectorPicture> picture) : picture_(std::move(picture)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        picture_->draw(*painter, rect);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    // The sizes that panels use, normal and high-density, so that none has to scale.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        QList<QSize> sizes;
        for (const int side : {16, 20, 22, 24, 32, 40, 44, 48, 64}) {
            sizes.append({side, side});
        }
        return sizes;
    }

    QIconEngine* clone() const override { return new VectorIconEngine(picture_); }

private:
    const std::shared_ptr<const VectorPicture> picture_;
};

}  // namespace

struct VectorPicture::Drawing {
    QSvgRenderer renderer;
};

VectorPicture::VectorPicture(const ui::Image& image) : drawing_(std::make_unique<Drawing>()) {
    if (!drawing_->renderer.load(QFile::decodeName(image.file.c_str()))) {
        SystemLog::standard().write("can't read the image " + image.file, Severity::warning);
    }
    drawing_->renderer.setAspectRatioMode(Qt::KeepAspectRatio);
}

VectorPicture::~VectorPicture() = default;

QSizeF VectorPicture::size() const {
    return drawing_->renderer.isValid() ? QSizeF(drawing_->renderer.viewBoxF().size()) : QSizeF();
}

void VectorPicture::draw(QPainter& painter, const QRectF& frame) const {
    if (drawing_->renderer.isValid()) {
        painter.setRenderHint(QPainter::Antialiasing);
        drawing_->renderer.render(&painter, frame);
    }
}

QIcon vectorIcon(const ui::Image& image) {
    return QIcon(new VectorIconEngine(std::make_shared<VectorPicture>(image)));
}

}  // namespace platform::qt
