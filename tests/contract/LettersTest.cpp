/// Whose way of writing the letters are drawn in that Chinese, Japanese and Korean share. The font library looks for
/// its language once a process, so each test has a process of its own.

#include "platform/UserDefaults.h"
#include "platform/qt/FontLanguage.h"
#include "platform/qt/QtApplication.h"
#include "platform/qt/TextLines.h"

#include <QGlyphRun>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QProcessEnvironment>
#include <QRawFont>
#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace {

char programName[] = "letters";
char* programArguments[] = {programName, nullptr};

struct Way {
    const char* name;
    const char* language;
    const char* font;
};

void PrintTo(const Way& way, std::ostream* stream) {
    *stream << way.language;
}

std::string fontThatDraws(const QString& letter) {
    const platform::qt::TextLines lines(letter, platform::qt::toolkitFont({"", 12}), 100);
    const auto runs = lines.layout().glyphRuns();
    return runs.isEmpty() ? "" : runs.front().rawFont().familyName().toStdString();
}

class Letters : public ::testing::TestWithParam<Way> {};

TEST_P(Letters, AreThoseOfTheClientsLanguage) {
    unsetenv("FC_LANG");
    platform::UserDefaults::standard().setStringList("AppleLanguages", {GetParam().language, "en"});
    const platform::qt::QtApplication application(1, programArguments);
    EXPECT_EQ(fontThatDraws(QString::fromUtf8("将")), GetParam().font);

    auto environment = QProcessEnvironment::systemEnvironment();
    platform::qt::forgetLettersIn(environment);
    EXPECT_FALSE(environment.contains(QStringLiteral("FC_LANG"))) << "programs that are opened do not inherit it";
}

const auto sentence = QString::fromUtf8("将レコーディング录制내용을 저장했습니다");
constexpr QSize paper(280, 40);

/// White on black, at twice the size in pixels.
template<typename Draw>
QImage drawn(Draw draw) {
    QImage image(paper * 2, QImage::Format_RGB32);
    image.setDevicePixelRatio(2);
    image.fill(Qt::black);
    draw(image);
    return image;
}

/// The sum of all brightness.
double weightOf(const QImage& image) {
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            sum += qGray(image.pixel(x, y));
        }
    }
    return sum;
}

TEST_P(Letters, AreAsHeavyAsTheToolkitsOwn) {
    unsetenv("FC_LANG");
    platform::UserDefaults::standard().setStringList("AppleLanguages", {GetParam().language, "en"});
    const platform::qt::QtApplication application(1, programArguments);
    const auto font = platform::qt::toolkitFont({"", 12});
    const auto ours = drawn([&](QImage& image) {
        QPainter painter(&image);
        platform::qt::TextLines(sentence, font, paper.width()).draw(painter, QRectF({}, paper), Qt::white);
    });
    const auto theirs = drawn([&](QImage& image) {
        QLabel label(sentence);
        label.setFont(font);
        label.setAlignment(Qt::AlignTop);
        auto palette = label.palette();
        palette.setColor(QPalette::Window, Qt::black);
        palette.setColor(QPalette::WindowText, Qt::white);
        label.setPalette(palette);
        label.resize(paper);
        label.render(&image);
    });
    ASSERT_GT(weightOf(theirs), 0);
    EXPECT_NEAR(weightOf(ours) / weightOf(theirs), 1, 0.01);
}

INSTANTIATE_TEST_SUITE_P(Shared, Letters,
                         ::testing::Values(Way{"Simplified", "zh-Hans", "Noto Sans CJK SC"},
                                           Way{"Traditional", "zh-Hant", "Noto Sans CJK TC"},
                                           Way{"Japanese", "ja", "Noto Sans CJK JP"},
                                           Way{"Korean", "ko", "Noto Sans CJK KR"}),
                         [](const auto& way) { return std::string(way.param.name); });

TEST(LettersOfTheUser, StayAsTheEnvironmentNamesThem) {
    setenv("FC_LANG", "zh-tw", 1);
    platform::UserDefaults::standard().setStringList("AppleLanguages", {"ja", "en"});
    const platform::qt::QtApplication application(1, programArguments);
    EXPECT_EQ(fontThatDraws(QString::fromUtf8("将")), "Noto Sans CJK TC");

    auto environment = QProcessEnvironment::systemEnvironment();
    platform::qt::forgetLettersIn(environment);
    EXPECT_EQ(environment.value(QStringLiteral("FC_LANG")), QStringLiteral("zh-tw"));
}

}  // namespace

int main(int argc, char* argv[]) {
    ::testing::InitGoogleTest(&argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "none:", 1);
    return RUN_ALL_TESTS();
}
