/// The look of bubbles, read from the drawn pixels.

#include "contract/BubbleKit.h"
#include "contract/EventLoop.h"
#include "contract/SettingsPortal.h"
#include "uilib/qt/BubbleShape.h"

#include <QAbstractButton>
#include <QApplication>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>

namespace {

const std::string savedText = "Your recording has been saved to your computer.";

// Of a pixel, as defined by accessibility guidelines.
double luminanceOf(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QImage drawn(QWidget* window, double scale = 1) {
    QImage image((QSizeF(window->size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    window->render(&image, {}, {}, QWidget::DrawChildren);
    return image;
}

// Between a widget's most common colour, which is the background of its text, and the colour farthest from it, which is
// the core of its letters.
double contrastOf(QWidget* window, const QWidget* part) {
    const auto image = drawn(window, 4);
    const QRect place(part->mapTo(window, QPoint()) * 4, part->size() * 4);
    std::map<QRgb, int> counts;
    for (int y = place.top(); y <= place.bottom(); ++y) {
        for (int x = place.left(); x <= place.right(); ++x) {
            ++counts[image.pixel(x, y)];
        }
    }
    const auto ground = std::max_element(counts.begin(), counts.end(),
                                         [](const auto& a, const auto& b) { return a.second < b.second; });
    const double groundLuminance = luminanceOf(QColor::fromRgba(ground->first));
    double best = 1;
    for (const auto& [color, count] : counts) {
        const double luminance = luminanceOf(QColor::fromRgba(color));
        best = std::max(best,
                        (std::max(luminance, groundLuminance) + 0.05) / (std::min(luminance, groundLuminance) + 0.05));
    }
    return best;
}

double contrastOf(const QColor& a, const QColor& b) {
    const auto [dark, light] = std::minmax({luminanceOf(a), luminanceOf(b)});
    return (light + 0.05) / (dark + 0.05);
}

QAbstractButton* buttonNamed(QWidget* window, const QString& name) {
    for (auto* candidate : window->findChildren<QAbstractButton*>()) {
        if (candidate->accessibleName() == name) {
            return candidate;
        }
    }
    ADD_FAILURE() << "no button " << name.toStdString();
    return nullptr;
}

/// The pixel in the middle of a widget's upper edge, and the one above it.
std::pair<QColor, QColor> upperEdgeOf(QWidget* window, const QWidget* part) {
    const auto image = drawn(window);
    const auto middle = part->mapTo(window, QPoint(part->width() / 2, 0));
    return {image.pixelColor(middle), image.pixelColor(middle - QPoint(0, 1))};
}

QColor edgeOf(QWidget* window) {
    const auto* const client = window->findChild<QWidget*>(QStringLiteral("client"));
    return drawn(window).pixelColor(client->x() + client->width() / 2, client->y() + client->height());
}

class BubbleLooks : public test::BubbleKit {
protected:
    QWidget* showOne() {
        show(makeView(savedText, {"Open", "View in Folder"}));
        EXPECT_EQ(windows().size(), 1U);
        return windows().front();
    }
};

TEST_F(BubbleLooks, ItsTextHasAContrastOfAtLeastSevenToOne) {
    auto* const window = showOne();
    EXPECT_GE(contrastOf(window, window->findChild<QLabel*>()), 7);
}

TEST_F(BubbleLooks, ItsButtonsTitlesHaveAContrastOfAtLeastSevenToOneInEveryLook) {
    auto* const window = showOne();
    auto* const button = buttonNamed(window, QStringLiteral("Open"));
    ASSERT_NE(button, nullptr);
    const auto plain = drawn(window);
    EXPECT_GE(contrastOf(window, button), 7);

    button->setAttribute(Qt::WA_UnderMouse);
    const auto hovered = drawn(window);
    EXPECT_NE(hovered, plain);
    EXPECT_GE(contrastOf(window, button), 7) << "hovered";

    button->setDown(true);
    const auto held = drawn(window);
    EXPECT_NE(held, hovered);
    EXPECT_GE(contrastOf(window, button), 7) << "pressed";

    button->setDown(false);
    button->setAttribute(Qt::WA_UnderMouse, false);
    activate(window);
    button->setFocus(Qt::TabFocusReason);
    EXPECT_NE(drawn(window), plain);
    EXPECT_GE(contrastOf(window, button), 7) << "focused";
}

TEST_F(BubbleLooks, TheFocusRingStaysWhileThePointerIsOnTheSameButton) {
    auto* const window = showOne();
    activate(window);
    for (const auto* name : {"Open", "Close"}) {
        auto* const button = buttonNamed(window, QLatin1String(name));
        // The toolkit gives the focus to the first button of a window that becomes active.
        window->setFocus();
        const auto plain = drawn(window);
        button->setFocus(Qt::TabFocusReason);
        EXPECT_NE(drawn(window), plain) << name;
        button->setAttribute(Qt::WA_UnderMouse);
        const auto both = drawn(window);
        window->setFocus();
        EXPECT_NE(drawn(window), both) << name << ": the keyboard's place is seen under the pointer";
        button->setAttribute(Qt::WA_UnderMouse, false);
    }
    activate(nullptr);
}

TEST_F(BubbleLooks, KeepsAnOutlineOnBlackAroundBodyAndArrow) {
    auto* const window = showOne();
    QImage onBlack(drawn(window, 2).size(), QImage::Format_RGB32);
    onBlack.fill(Qt::black);
    QPainter painter(&onBlack);
    painter.drawImage(QRect(QPoint(), onBlack.size()), drawn(window, 2));
    painter.end();
    const auto* const client = window->findChild<QWidget*>(QStringLiteral("client"));
    const QRect body(client->pos() * 2, client->size() * 2);
    for (const auto& place : {QPoint(body.center().x(), body.bottom()), QPoint(body.left(), body.center().y()),
                              QPoint(body.right(), body.center().y())}) {
        EXPECT_GE(contrastOf(onBlack.pixelColor(place), Qt::black), 3) << place.x() << ", " << place.y();
    }
}

TEST_F(BubbleLooks, ItsOutlineIncludesTheArrowUpToItsTip) {
    const QRectF body(12, 22, 255, 79);
    const AuroraArrowRecord arrow{6, 20, 10, 40, 40};
    const auto outlineWith = [&](uilib::qt::ArrowEdge edge) {
        return uilib::qt::bubbleOutline(body, 4, arrow, edge, 100);
    };
    const QPointF aboveTheBody(112, 16);
    const QPointF belowTheBody(112, 107);
    EXPECT_TRUE(outlineWith(uilib::qt::ArrowEdge::top).contains(aboveTheBody));
    EXPECT_FALSE(outlineWith(uilib::qt::ArrowEdge::top).contains(belowTheBody));
    EXPECT_TRUE(outlineWith(uilib::qt::ArrowEdge::bottom).contains(belowTheBody));
    EXPECT_EQ(outlineWith(uilib::qt::ArrowEdge::top).boundingRect().top(), 12) << "the tip";
    EXPECT_EQ(outlineWith(uilib::qt::ArrowEdge::none).boundingRect(), body);
}

TEST_F(BubbleLooks, ShowsThePictureOfItsKind) {
    const auto colorAtIcon = [this](const char* icon) {
        show(makeView(savedText, {}, icon));
        auto* const window = windows().back();
        const auto* const client = window->findChild<QWidget*>(QStringLiteral("client"));
        // The icon's left part, where its disc is plain.
        const auto color = drawn(window, 4).pixelColor((client->pos() + QPoint(14, 24)) * 4);
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QApplication::sendEvent(window, &escape);
        EXPECT_TRUE(test::turnUntil([] { return windows().empty(); }));
        return color;
    };
    const auto saved = colorAtIcon("icn_check");
    EXPECT_GT(saved.green(), saved.red() + 50);
    const auto failed = colorAtIcon("icn_error");
    EXPECT_GT(failed.red(), failed.green() + 50);
}

TEST_F(BubbleLooks, ADisabledButtonLooksDisabled) {
    auto* const window = showOne();
    auto* const button = window->findChildren<QAbstractButton*>().front();
    const auto enabled = drawn(window);
    button->setEnabled(false);
    EXPECT_NE(drawn(window), enabled);
}

TEST_F(BubbleLooks, ItsBorderIsTransparent) {
    EXPECT_LT(edgeOf(showOne()).lightness(), 64) << "the shadow is all that surrounds the body";
}

TEST_F(BubbleLooks, ItsShadowFallsOffFromTheBodyOutward) {
    auto* const window = showOne();
    const auto* const client = window->findChild<QWidget*>(QStringLiteral("client"));
    const auto image = drawn(window, 2);
    const int x = 2 * (client->x() + client->width() / 2);
    // Without the row that the body's edge may share.
    const int bottom = 2 * (client->y() + client->height()) + 1;
    EXPECT_GT(image.pixelColor(x, bottom).alpha(), 32);
    for (int y = bottom + 1; y < image.height(); ++y) {
        EXPECT_LE(image.pixelColor(x, y).alpha(), image.pixelColor(x, y - 1).alpha()) << y - bottom;
    }
}

TEST_F(BubbleLooks, AnOutlineSetsItApartForThoseWhoAskForMoreContrast) {
    test::SettingsPortal portal;
    portal.settings[QStringLiteral("org.freedesktop.appearance contrast")] = 1U;
    maker = std::make_unique<uilib::qt::QtAuroraBubbleMaker>(center, statusBar);
    maker->prepare();
    test::turnUntil([&] { return portal.asked >= 4; });
    test::turnFor(std::chrono::milliseconds(100));
    auto* const window = showOne();
    EXPECT_GT(edgeOf(window).lightness(), 200);
    const auto [outline, around] = upperEdgeOf(window, buttonNamed(window, QStringLiteral("Open")));
    EXPECT_GE(contrastOf(outline, around), 3) << "a button too";
}

int drawingThreads() {
    int count = 0;
    for (const auto& task : QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name(QStringLiteral("/proc/self/task/%1/comm").arg(task));
        count += name.open(QIODevice::ReadOnly) && name.readAll().startsWith("Thread (pooled)") ? 1 : 0;
    }
    return count;
}

// A thread that waited for the next image would wake the process when it gives up.
TEST_F(BubbleLooks, DrawingLeavesNoThreadWaiting) {
    show(makeView(savedText, {"Open", "View in Folder"}));
    show(makeView("We had a problem converting the recording to MP4 format.", {}, "icn_error"));
    show(makeView("Your recording is being prepared. This may take a while.", {}, "corvo_logo"));
    show(makeView("**** received job ****\nFilePath = /home/u/" + std::string(4000, 'x') + ".mkv", {}, ""));
    for (auto* window : windows()) {
        for (const double scale : {1.0, 2.0, 3.0}) {
            EXPECT_FALSE(drawn(window, scale).convertToFormat(QImage::Format_ARGB32).isNull());
        }
    }
    // The end of a thread is not an event.
    for (int waits = 0; waits < 400 && drawingThreads() > 0; ++waits) {
        test::turnFor(std::chrono::milliseconds(50));
    }
    EXPECT_EQ(drawingThreads(), 0);
}

}  // namespace
