/// The three kinds of bubbles beside pictures of them that were looked at and found good. A picture is renewed by
/// running this program with GOLDEN_RENEW=1 in the environment.

#include "contract/BubbleKit.h"

#include <QColor>
#include <QImage>
#include <QWidget>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace {

// What other versions of the font renderer may change: shades at the edges of letters, never a place.
constexpr int kShade = 48;
constexpr double kShareOfPixels = 0.01;

struct Kind {
    const char* name;
    const char* text;
    std::vector<std::string> buttons;
    const char* icon;
};

void PrintTo(const Kind& kind, std::ostream* stream) {
    *stream << kind.name;
}

double shareThatDiffers(const QImage& left, const QImage& right) {
    int differing = 0;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width(); ++x) {
            const auto a = left.pixelColor(x, y);
            const auto b = right.pixelColor(x, y);
            const int farthest = std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                                           std::abs(a.blue() - b.blue()), std::abs(a.alpha() - b.alpha())});
            differing += farthest > kShade ? 1 : 0;
        }
    }
    return static_cast<double>(differing) / (left.width() * left.height());
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
    const auto share = shareThatDiffers(drawn, golden);
    EXPECT_LE(share, kShareOfPixels);
    if (share > kShareOfPixels) {
        drawn.save(QStringLiteral("golden-%1-now.png").arg(QLatin1String(kind.name)));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, GoldenBubble,
    ::testing::Values(
        Kind{"saved", "Your recording has been saved to your computer.", {"Open", "View in Folder"}, "icn_check"},
        Kind{"failed", "We had a problem converting the recording to MP4 format.", {}, "icn_error"},
        Kind{"prepared", "Your recording is being prepared. This may take a while.", {}, "corvo_logo"}),
    [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace
