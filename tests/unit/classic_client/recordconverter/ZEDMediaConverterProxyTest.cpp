#include "ZEDMediaConverterProxy.h"

#include "KTRMeetingRecordConverter.h"
#include "KTRMeetingRecordItem.h"
#include "support/FakeFileManager.h"
#include "support/ScriptedMediaConverter.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using support::ScriptedMediaConverter;

class Reports final : public KTRMeetingRecordConverterDelegate {
public:
    void meetingRecordConverterUpdatesConvertingProgressForRecordItem(
        KTRMeetingRecordConverter&, double progress, const std::shared_ptr<KTRMeetingRecordItem>&) override {
        log.push_back("progress " + std::to_string(progress));
    }
    void meetingRecordConverterHitsConvertingErrorForRecordItem(KTRMeetingRecordConverter&, int error,
                                                                const std::shared_ptr<KTRMeetingRecordItem>&) override {
        log.push_back("error " + std::to_string(error));
    }

    std::vector<std::string> log;
};

class ZEDMediaConverterProxyTest : public testing::Test {
protected:
    ZEDMediaConverterProxyTest() {
        ScriptedMediaConverter::reset();
        owner.setDelegate(reports);
        ScriptedMediaConverter::reset();
    }

    test::FakeFileManager fileManager;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    KTRMeetingRecordConverter owner{fileManager};
};

TEST_F(ZEDMediaConverterProxyTest, MakesAMediaConverterAndReleasesItExactlyOnce) {
    {
        const ZEDMediaConverterProxy proxy(&owner);
        EXPECT_EQ(ScriptedMediaConverter::created(), 1U);
        EXPECT_EQ(ScriptedMediaConverter::released(), 0U);
    }
    EXPECT_EQ(ScriptedMediaConverter::released(), 1U);
}

TEST_F(ZEDMediaConverterProxyTest, AsksForAudioAndVideoInMp4AlwaysWith3And4) {
    ScriptedMediaConverter::script({.progress = {}, .error = {}, .output = {}});
    ZEDMediaConverterProxy proxy(&owner);
    proxy.ConvertRecord("/a/src.rec", "/a/dst.mp4");
    const auto requests = ScriptedMediaConverter::requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].source, "/a/src.rec");
    EXPECT_EQ(requests[0].destination, "/a/dst.mp4");
    EXPECT_EQ(requests[0].tracks, 3);
    EXPECT_EQ(requests[0].container, 4);
}

TEST_F(ZEDMediaConverterProxyTest, PassesProgressAndErrorsOnToItsOwner) {
    ScriptedMediaConverter::script({.progress = {0.0F, 12.5F}, .error = 7, .output = {}});
    ZEDMediaConverterProxy proxy(&owner);
    proxy.ConvertRecord("/a/src.rec", "/a/dst.mp4");
    EXPECT_EQ(reports->log, (std::vector<std::string>{"progress 0.000000", "progress 12.500000", "error 7"}));
}

TEST_F(ZEDMediaConverterProxyTest, IsTheSinkThatTheMediaConverterCalls) {
    static_assert(std::is_base_of_v<zed::IZedMediaConverterSink, ZEDMediaConverterProxy>);
    ZEDMediaConverterProxy proxy(&owner);
    zed::IZedMediaConverterSink& sink = proxy;
    sink.OnConvertProgress(1.5F);
    sink.OnConvertError(-3);
    EXPECT_EQ(reports->log, (std::vector<std::string>{"progress 1.500000", "error -3"}));
}

TEST_F(ZEDMediaConverterProxyTest, WithoutAMediaConverterConvertingDoesNothingAndNothingIsReleased) {
    ScriptedMediaConverter::refuseCreation();
    {
        ZEDMediaConverterProxy proxy(&owner);
        proxy.ConvertRecord("/a/src.rec", "/a/dst.mp4");
    }
    EXPECT_TRUE(ScriptedMediaConverter::requests().empty());
    EXPECT_TRUE(reports->log.empty());
    EXPECT_EQ(ScriptedMediaConverter::released(), 0U);
}

TEST_F(ZEDMediaConverterProxyTest, TheBridgeReachesTheConverter) {
    RecordConverterReportProgress(&owner, 99.9F);
    RecordConverterReportError(&owner, 0);
    EXPECT_EQ(reports->log, (std::vector<std::string>{"progress 99.900002", "error 0"}));
}

}  // namespace
