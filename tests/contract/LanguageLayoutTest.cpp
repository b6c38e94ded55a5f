/// The application's own texts in every language of the client, laid out in real bubbles.

#include "KTRMeetingRecordConverterLocalizableStrings.h"
#include "contract/BubbleKit.h"
#include "framework_art/commonmgr/LanguageManager.h"
#include "platform/qt/QtStringTables.h"
#include "platform/qt/TextLines.h"
#include "support/FakeUserDefaults.h"

#include <QAbstractButton>
#include <QGlyphRun>
#include <QImage>
#include <QLabel>
#include <QRawFont>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr double unlimited = 1e6;
const platform::ui::Font bodyFont{"", 12};

// Characters that must not start a line: closing punctuation and small letters that belong to the one before.
const auto notFirst = QStringLiteral("。、，．！？）」』：；ー々ぁぃぅぇぉっゃゅょァィゥェォッャュョ");

class LanguageLayout : public test::BubbleKit, public ::testing::WithParamInterface<int> {
protected:
    LanguageLayout() { LanguageManager::setActiveLanguage(GetParam()); }

    std::string text(const std::string& key) const { return tables.localizedString(key, "Localizable"); }

    std::shared_ptr<KTRMeetingRecordingSavedBubbleView> makeSaved() {
        return makeView(text(kRecordingFileSavedSuccess), {text(kOpen), text(kViewInFolder)});
    }

    test::FakeUserDefaults defaults;
    platform::qt::QtStringTables tables{defaults, RESOURCES "/translations"};
};

// The width of a bubble that its buttons require: each step drops its fraction.
double widthFor(const std::vector<double>& titles) {
    double width = 255;
    double offset = 0;
    for (const double title : titles) {
        width = std::max(width, std::trunc(offset + 16 + 24 + title));
        offset = std::trunc(offset + 8 + 24 + title);
    }
    return width;
}

QStringList linesOf(const platform::qt::TextLines& lines) {
    QStringList texts;
    for (int i = 0; i < lines.layout().lineCount(); ++i) {
        const auto line = lines.layout().lineAt(i);
        texts.append(lines.layout().text().mid(line.textStart(), line.textLength()));
    }
    return texts;
}

bool hasEveryLetter(const platform::qt::TextLines& lines) {
    const auto runs = lines.layout().glyphRuns();
    return std::none_of(runs.begin(), runs.end(), [](const QGlyphRun& run) { return run.glyphIndexes().contains(0U); });
}

TEST_P(LanguageLayout, ASavedBubbleIsAsWideAsItsButtonsNeed) {
    const auto view = makeSaved();
    std::vector<double> titles;
    for (const auto& button : view->buttonsArray()) {
        titles.push_back(measure.sizeOfText(*button->title(), button->font(), unlimited).width);
    }
    EXPECT_EQ(static_cast<double>(view->bubbleWidth()), widthFor(titles));
}

TEST_P(LanguageLayout, NoButtonsTitleIsCutOff) {
    const auto view = makeSaved();
    show(view);
    auto leftOfThis = static_cast<double>(view->bubbleWidth());
    for (const auto& button : view->buttonsArray()) {
        const auto& frame = button->frame();
        EXPECT_GE(frame.width, measure.sizeOfText(*button->title(), button->font(), unlimited).width + 23);
        EXPECT_LE(frame.x + frame.width, leftOfThis - 7) << "it stands apart from its neighbour";
        leftOfThis = frame.x;
    }
    EXPECT_GE(leftOfThis, 7);
}

TEST_P(LanguageLayout, EveryLineOfATextFitsBesideTheIcon) {
    for (const auto& key :
         {kRecordingFilesPreparedWaitConvert, kRecordingFileSavedSuccess, kRecordingFileConvertFailed}) {
        const auto view = makeView(text(key));
        const auto& frame = view->contentField()->frame();
        const platform::qt::TextLines lines(QString::fromStdString(text(key)), platform::qt::toolkitFont(bodyFont),
                                            frame.width);
        for (int i = 0; i < lines.layout().lineCount(); ++i) {
            EXPECT_LE(lines.layout().lineAt(i).naturalTextWidth(), frame.width) << text(key);
        }
        EXPECT_GE(frame.height, lines.size().height() - 1) << text(key);
        EXPECT_TRUE(hasEveryLetter(lines)) << text(key);
    }
}

TEST_P(LanguageLayout, NoLineBeginsWithWhatBelongsToTheOneBefore) {
    for (const auto& key :
         {kRecordingFilesPreparedWaitConvert, kRecordingFileSavedSuccess, kRecordingFileConvertFailed}) {
        for (int width = 60; width <= 199; ++width) {
            const platform::qt::TextLines lines(QString::fromStdString(text(key)), platform::qt::toolkitFont(bodyFont),
                                                width);
            for (const auto& line : linesOf(lines)) {
                ASSERT_FALSE(line.isEmpty());
                EXPECT_FALSE(notFirst.contains(line.front())) << line.toStdString();
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfTheClient, LanguageLayout, ::testing::Range(1, 21));

class EastAsianLayout : public LanguageLayout {};

TEST_P(EastAsianLayout, ATextWithoutBlanksIsBrokenWhereALineIsFull) {
    auto sentence = QString::fromStdString(text(kRecordingFilesPreparedWaitConvert)).remove(QLatin1Char(' '));
    const platform::qt::TextLines lines(sentence, platform::qt::toolkitFont(bodyFont), 100);
    EXPECT_GE(lines.layout().lineCount(), 2);
    EXPECT_EQ(linesOf(lines).join(QString()), sentence);
    // A line that ended too early would leave room for two more letters.
    EXPECT_GT(lines.layout().lineAt(0).naturalTextWidth(), 100 - 3 * 12);
    EXPECT_TRUE(hasEveryLetter(lines));
}

// Simplified and traditional Chinese, Japanese, Korean.
INSTANTIATE_TEST_SUITE_P(OfTheClient, EastAsianLayout, ::testing::Range(3, 7));

using WideTitles = test::BubbleKit;

TEST_F(WideTitles, WidenTheBubbleAndItsTextUntilBothFit) {
    const std::vector<std::string> titles{"Aufzeichnung im Standardprogramm öffnen", "Показать в папке с записями"};
    const auto view = makeView("Ihre Aufzeichnung wurde auf Ihrem Computer gespeichert.", titles);
    std::vector<double> widths;
    for (const auto& button : view->buttonsArray()) {
        widths.push_back(measure.sizeOfText(*button->title(), button->font(), unlimited).width);
    }
    ASSERT_GT(widthFor(widths), 300);
    EXPECT_EQ(static_cast<double>(view->bubbleWidth()), widthFor(widths));
    EXPECT_EQ(view->contentField()->frame().width, widthFor(widths) - 56);
    show(view);
    const auto* const client = windows().front()->findChild<QWidget*>(QStringLiteral("client"));
    for (const auto* button : client->findChildren<QAbstractButton*>()) {
        EXPECT_TRUE(client->rect().contains(button->geometry()));
    }
}

}  // namespace
