/// The three kinds of bubbles compared with images that were inspected and approved. Run this program with
/// GOLDEN_RENEW=1 in the environment to renew an image.

#include "contract/BubbleKit.h"

#include <QColor>
#include <QImage>
#include <QLabel>
#include <QRect>
#include <QWidget>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace {

// The difference that another version of the font renderer may cause: shades at the edges of letters, never a position.
// Compared region by region, so that a small missing part cannot hide in a large image.
constexpr int shade = 48;
constexpr int regionSide = 16;
constexpr double shareOfText = 0.2;
constexpr double shareElsewhere = 0.04;

// Of the window's image, in points.
constexpr int shadow = 12;
constexpr int arrowHeight = 10;
constexpr int buttonHeight = 24;

struct Kind {
    const char* name;
    const char* text;
    std::vector<std::string> buttons;
    const char* icon;
};

void PrintTo(const Kind& kind, std::ostream* stream) {
    *stream << kind.name;
}

double shareThatDiffers(const QImage& left, const QImage& right, const QRect& region) {
    int differing = 0;
    for (int y = region.top(); y <= region.bottom(); ++y) {
        for (int x = region.left(); x <= region.right(); ++x) {
            const auto a = left.pixelColor(x, y);
            const auto b = right.pixelColor(x, y);
            const int farthest = std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                                           std::abs(a.blue() - b.blue()), std::abs(a.alpha() - b.alpha())});
            differing += farthest > shade ? 1 : 0;
        }
    }
    return static_cast<double>(differing) / (region.width() * region.height());
}

/// Whether letters are drawn in the region: a font renderer may cause differences only there.
bool holdsText(const QWidget* window, const QRect& region) {
    const auto widgets = window->findChildren<QWidget*>();
    return std::any_of(widgets.begin(), widgets.end(), [&](const QWidget* widget) {
        const bool hasLetters = qobject_cast<const QLabel*>(widget) != nullptr ||
                                (widget->height() == buttonHeight && widget->width() > buttonHeight);
        return hasLetters && QRect(widget->mapTo(window, QPoint()), widget->size()).intersects(region);
    });
}

/// Number of regions that differ by more than a font renderer may cause.
int differences(const QImage& drawn, const QImage& golden, const QWidget* window) {
    int count = 0;
    for (int y = 0; y < golden.height(); y += regionSide) {
        for (int x = 0; x < golden.width(); x += regionSide) {
            const auto region = QRect(x, y, regionSide, regionSide) & golden.rect();
            const auto allowed = holdsText(window, region) ? shareOfText : shareElsewhere;
            count += shareThatDiffers(drawn, golden, region) > allowed ? 1 : 0;
        }
    }
    return count;
}

class GoldenBubble : public test::BubbleKit, public ::testing::WithParamInterface<Kind> {};

TEST_P(GoldenBubble, LooksAsItDid) {
    const auto& kind = GetParam();
    show(makeView(kind.text, kind.buttons, kind.icon));
    ASSERT_EQ(windows().size(), 1U);
    QImage drawn(windows().front()->size(), QImage::Format_ARGB32_Premultiplied);
    drawn.fill(Qt::transparent);
    windows().front()->render(&drawn, {}, {}, QWidget::DrawChildren);

    const auto file = QStringLiteral(GOLDEN "/%1.png").arg(QLatin1String(kind.name));
    if (std::getenv("GOLDEN_RENEW") != nullptr) {
        ASSERT_TRUE(drawn.save(file));
    }
    const QImage golden(file);
    ASSERT_FALSE(golden.isNull()) << file.toStdString();
    ASSERT_EQ(drawn.size(), golden.size());
    EXPECT_EQ(differences(drawn, golden, windows().front()), 0);
    if (HasFailure()) {
        drawn.save(QStringLiteral("golden-%1-now.png").arg(QLatin1String(kind.name)));
    }
}

/// A part that is missing from an image is noticed, however small it is.
TEST_P(GoldenBubble, AnIconThatIsMissingIsSeen) {
    const QImage golden(QStringLiteral(GOLDEN "/%1.png").arg(QLatin1String(GetParam().name)));
    ASSERT_FALSE(golden.isNull());
    auto without = golden;
    const QRect icon(shadow + 12, shadow + arrowHeight + 16, 16, 16);
    for (int y = icon.top(); y <= icon.bottom(); ++y) {
        for (int x = icon.left(); x <= icon.right(); ++x) {
            without.setPixelColor(x, y, Qt::black);
        }
    }
    show(makeView(GetParam().text, GetParam().buttons, GetParam().icon));
    ASSERT_EQ(windows().size(), 1U);
    EXPECT_GT(differences(without, golden, windows().front()), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, GoldenBubble,
    ::testing::Values(
        Kind{"saved", "Your recording has been saved to your computer.", {"Open", "View in Folder"}, "icn_check"},
        Kind{"failed", "We had a problem converting the recording to MP4 format.", {}, "icn_error"},
        Kind{"prepared", "Your recording is being prepared. This may take a while.", {}, "corvo_logo"}),
    [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace
