#include "KTRMeetingRecordConverter.h"

#include "KTRMeetingRecordItem.h"
#include "support/FakeFileManager.h"
#include "support/RecordingTrace.h"
#include "support/ScriptedMediaConverter.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using support::ScriptedMediaConverter;
using test::Log;

const char* const deleting = "-[KTRMeetingRecordConverter deleteIntermediateItem:]";

/// Records every report, and which files had been removed by then.
class Reports final : public KTRMeetingRecordConverterDelegate {
public:
    explicit Reports(const test::FakeFileManager& fileManager) : fileManager_(fileManager) {}

    void
    meetingRecordConverterDidStartConvertingRecordItem(KTRMeetingRecordConverter& converter,
                                                       const std::shared_ptr<KTRMeetingRecordItem>& item) override {
        note("start", converter, item);
        requestsAtStart = ScriptedMediaConverter::requests().size();
    }
    void meetingRecordConverterUpdatesConvertingProgressForRecordItem(
        KTRMeetingRecordConverter& converter, double progress,
        const std::shared_ptr<KTRMeetingRecordItem>& item) override {
        note("progress", converter, item);
        progresses.push_back(progress);
    }
    void meetingRecordConverterDidStopConvertingRecordItem(KTRMeetingRecordConverter& converter,
                                                           const std::shared_ptr<KTRMeetingRecordItem>& item) override {
        note("stop", converter, item);
    }
    void
    meetingRecordConverterHitsConvertingErrorForRecordItem(KTRMeetingRecordConverter& converter, int error,
                                                           const std::shared_ptr<KTRMeetingRecordItem>& item) override {
        note("error " + std::to_string(error), converter, item);
    }
    bool meetingRecordConverterShouldKeepIntermediateItem(KTRMeetingRecordConverter& converter,
                                                          const std::shared_ptr<KTRMeetingRecordItem>& item) override {
        note("keep?", converter, item);
        return keeps;
    }

    Log log;
    std::vector<double> progresses;
    std::vector<const KTRMeetingRecordConverter*> converters;
    std::vector<const KTRMeetingRecordItem*> items;
    std::size_t requestsAtStart = 99;
    bool keeps = false;

private:
    void note(const std::string& report, const KTRMeetingRecordConverter& converter,
              const std::shared_ptr<KTRMeetingRecordItem>& item) {
        log.push_back(fileManager_.removed().empty() ? report : report + " (source removed)");
        converters.push_back(&converter);
        items.push_back(item.get());
    }

    const test::FakeFileManager& fileManager_;
};

class KTRMeetingRecordConverterTest : public testing::Test {
protected:
    KTRMeetingRecordConverterTest() { fileManager.addFile("/a/rec.tmp"); }

    void convert(const std::vector<float>& progress, std::optional<int> error = std::nullopt) {
        ScriptedMediaConverter::script({.progress = progress, .error = error, .output = {}});
        converter->convertsRecordItem(item);
    }

    // Declared first: the converter below creates its media converter at once.
    struct FreshStudio {
        FreshStudio() { ScriptedMediaConverter::reset(); }
    } freshStudio;
    test::RecordingTrace trace;
    test::FakeFileManager fileManager;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>(fileManager);
    std::shared_ptr<KTRMeetingRecordItem> item =
        std::make_shared<KTRMeetingRecordItem>(4711, "/a/rec.tmp", fileManager);
    std::unique_ptr<KTRMeetingRecordConverter> converter = [this] {
        auto made = std::make_unique<KTRMeetingRecordConverter>(fileManager);
        made->setDelegate(reports);
        return made;
    }();
};

TEST_F(KTRMeetingRecordConverterTest, MakesItsMediaConverterAtOnceAndReleasesItAtItsEnd) {
    EXPECT_EQ(ScriptedMediaConverter::released(), 0U);
    ScriptedMediaConverter::reset();
    converter = std::make_unique<KTRMeetingRecordConverter>(fileManager);
    EXPECT_EQ(ScriptedMediaConverter::created(), 1U);
    ScriptedMediaConverter::reset();
    converter = nullptr;
    EXPECT_EQ(ScriptedMediaConverter::released(), 1U);
}

TEST_F(KTRMeetingRecordConverterTest, ReportsTheStartBeforeTheMediaConverterIsAsked) {
    convert({});
    EXPECT_EQ(reports->log, Log{"start"});
    EXPECT_EQ(reports->requestsAtStart, 0U);
    ASSERT_EQ(ScriptedMediaConverter::requests().size(), 1U);
    EXPECT_EQ(ScriptedMediaConverter::requests()[0].source, "/a/rec.tmp");
    EXPECT_EQ(ScriptedMediaConverter::requests()[0].destination, "/a/rec.mp4");
}

TEST_F(KTRMeetingRecordConverterTest, ProgressBelow100GivesReportsAndNoStop) {
    convert({0.0F, 50.0F, 99.9F});
    EXPECT_EQ(reports->log, (Log{"start", "progress", "progress", "progress"}));
    EXPECT_EQ(reports->progresses, (std::vector<double>{0.0, 50.0, double{99.9F}}));
    EXPECT_TRUE(fileManager.removed().empty());
}

TEST_F(KTRMeetingRecordConverterTest, Progress100GivesProgressThenKeepQuestionThenDeletionThenStop) {
    convert({100.0F});
    EXPECT_EQ(reports->log, (Log{"start", "progress", "keep?", "stop (source removed)"}));
    EXPECT_EQ(fileManager.removed(), std::vector<std::string>{"/a/rec.tmp"});
    EXPECT_EQ(trace.log(), Log{test::info(std::string(deleting) + ": ")});
}

TEST_F(KTRMeetingRecordConverterTest, ADelegateThatKeepsLeavesTheFileAndStillHearsTheStop) {
    reports->keeps = true;
    convert({100.0F});
    EXPECT_EQ(reports->log, (Log{"start", "progress", "keep?", "stop"}));
    EXPECT_TRUE(fileManager.removed().empty());
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRMeetingRecordConverterTest, ProgressIsWidenedWithoutRounding) {
    convert({0.1F});
    EXPECT_EQ(reports->progresses, std::vector<double>{double{0.1F}});
    EXPECT_NE(reports->progresses[0], 0.1);
}

TEST_F(KTRMeetingRecordConverterTest, MoreThan100StopsAndNotANumberDoesNot) {
    convert({std::numeric_limits<float>::quiet_NaN(), -1.0F, 100.5F});
    EXPECT_EQ(reports->log, (Log{"start", "progress", "progress", "progress", "keep?", "stop (source removed)"}));
}

TEST_F(KTRMeetingRecordConverterTest, TheGreatestValueBelow100DoesNotStop) {
    convert({std::nextafter(100.0F, 0.0F)});
    EXPECT_EQ(reports->log, (Log{"start", "progress"}));
}

TEST_F(KTRMeetingRecordConverterTest, EachFurther100ReportsTheStopAgain) {
    convert({100.0F, 100.0F});
    EXPECT_EQ(reports->log, (Log{"start", "progress", "keep?", "stop (source removed)", "progress (source removed)",
                                 "keep? (source removed)", "stop (source removed)"}));
    EXPECT_EQ(trace.log(), (Log{test::info(std::string(deleting) + ": "), test::info(std::string(deleting) + ": "),
                                test::warning(std::string(deleting) + ": file not found.")}));
}

TEST_F(KTRMeetingRecordConverterTest, ADelegateThatImplementsNothingGetsNoCallsAndTheFileIsDeleted) {
    const auto nothing = std::make_shared<KTRMeetingRecordConverterDelegate>();
    converter->setDelegate(nothing);
    convert({0.0F, 100.0F});
    EXPECT_EQ(fileManager.removed(), std::vector<std::string>{"/a/rec.tmp"});
    EXPECT_TRUE(reports->log.empty());
}

TEST_F(KTRMeetingRecordConverterTest, WithoutADelegateTheFileIsDeletedOnCompletion) {
    converter->setDelegate(nullptr);
    convert({100.0F});
    EXPECT_EQ(fileManager.removed(), std::vector<std::string>{"/a/rec.tmp"});
    convert({0.0F}, 3);
}

TEST_F(KTRMeetingRecordConverterTest, AnErrorGivesOnlyTheErrorReportAndTheFileStays) {
    convert({0.0F, 42.0F}, 5);
    EXPECT_EQ(reports->log, (Log{"start", "progress", "progress", "error 5"}));
    EXPECT_TRUE(fileManager.removed().empty());
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRMeetingRecordConverterTest, ErrorCodesArePassedOnUnchanged) {
    convert({}, 0);
    convert({}, -2147483647 - 1);
    EXPECT_EQ(reports->log, (Log{"start", "error 0", "start", "error -2147483648"}));
}

TEST_F(KTRMeetingRecordConverterTest, AVanishedSourceIsTracedAsNotFoundAndTheStopIsStillReported) {
    ASSERT_FALSE(fileManager.removeItemAtPath("/a/rec.tmp"));
    convert({100.0F});
    EXPECT_EQ(reports->log.back(), "stop (source removed)");
    EXPECT_EQ(trace.log(), (Log{test::info(std::string(deleting) + ": "),
                                test::warning(std::string(deleting) + ": file not found.")}));
    EXPECT_EQ(fileManager.removed().size(), 1U) << "the removal was requested again";
}

TEST_F(KTRMeetingRecordConverterTest, AFolderAtTheSourceIsTracedAsNotFoundAndLeftInPlace) {
    fileManager.addFolder("/a/rec.tmp");
    convert({100.0F});
    EXPECT_TRUE(fileManager.removed().empty());
    EXPECT_EQ(trace.log(), (Log{test::info(std::string(deleting) + ": "),
                                test::warning(std::string(deleting) + ": file not found.")}));
    EXPECT_EQ(reports->log.back(), "stop");
}

TEST_F(KTRMeetingRecordConverterTest, AFailedDeletionIsTracedAsAnErrorAndTheStopIsStillReported) {
    fileManager.failRemoving("/a/rec.tmp", "100%s of no permission");
    convert({100.0F});
    EXPECT_EQ(trace.log(), (Log{test::info(std::string(deleting) + ": "),
                                test::error(std::string(deleting) + ": 100%s of no permission")}));
    EXPECT_EQ(reports->log.back(), "stop (source removed)");
}

TEST_F(KTRMeetingRecordConverterTest, WithoutAMediaConverterTheStartIsReportedAndNothingFollows) {
    ScriptedMediaConverter::refuseCreation();
    converter = std::make_unique<KTRMeetingRecordConverter>(fileManager);
    converter->setDelegate(reports);
    converter->convertsRecordItem(item);
    EXPECT_EQ(reports->log, Log{"start"});
    EXPECT_TRUE(ScriptedMediaConverter::requests().empty());
}

TEST_F(KTRMeetingRecordConverterTest, EveryReportCarriesTheConverterAndTheVeryItem) {
    convert({0.0F, 100.0F}, 1);
    ASSERT_EQ(reports->items.size(), 6U);
    for (const auto* const reported : reports->items) {
        EXPECT_EQ(reported, item.get());
    }
    for (const auto* const sender : reports->converters) {
        EXPECT_EQ(sender, converter.get());
    }
}

TEST_F(KTRMeetingRecordConverterTest, TheItemStaysSetAfterTheConversion) {
    EXPECT_EQ(converter->recordItem(), nullptr);
    convert({100.0F});
    EXPECT_EQ(converter->recordItem(), item);
}

TEST_F(KTRMeetingRecordConverterTest, TheDelegateIsNotKeptAlive) {
    const std::weak_ptr<Reports> watched = reports;
    reports = nullptr;
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(converter->delegate(), nullptr);
}

}  // namespace
