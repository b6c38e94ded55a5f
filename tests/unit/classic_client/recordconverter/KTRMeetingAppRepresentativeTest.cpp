#include "KTRMeetingAppRepresentative.h"

#include "support/RecordingTrace.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using test::info;
using test::Log;
using test::warning;
using Paths = std::vector<std::string>;

const std::string name = "-[KTRMeetingAppRepresentative ";
const std::string starts = name + "startsLocalRecordingWithIntermediateFile:]: ";

class Requests final : public KTRMeetingAppRepresentativeDelegate {
public:
    void meetingAppRepresentativeRequestsToConvertRecords(KTRMeetingAppRepresentative& representative,
                                                          const Paths& paths) override {
        senders.push_back(&representative);
        requests.push_back(paths);
    }
    void meetingAppRepresentativeDidRetire(KTRMeetingAppRepresentative& representative) override {
        retired.push_back(&representative);
    }

    std::vector<const KTRMeetingAppRepresentative*> senders;
    std::vector<Paths> requests;
    std::vector<const KTRMeetingAppRepresentative*> retired;
};

class KTRMeetingAppRepresentativeTest : public testing::Test {
protected:
    KTRMeetingAppRepresentativeTest() {
        representative.setDelegate(requests);
        trace.clear();
    }

    std::optional<std::string> start(const std::optional<std::string>& path) {
        return representative.startsLocalRecordingWithIntermediateFile(path);
    }

    test::RecordingTrace trace;
    std::shared_ptr<Requests> requests = std::make_shared<Requests>();
    KTRMeetingAppRepresentative representative{4711};
};

TEST_F(KTRMeetingAppRepresentativeTest, BeginsWithItsIdAndNoFiles) {
    const KTRMeetingAppRepresentative fresh(-3);
    EXPECT_EQ(trace.log(), Log{info(name + "initWithMeetingAppProcessId:]: pid = -3")});
    EXPECT_EQ(fresh.appPID(), -3);
    EXPECT_EQ(fresh.writingFile(), std::nullopt);
    EXPECT_TRUE(fresh.writtenFiles().empty());
}

TEST_F(KTRMeetingAppRepresentativeTest, AStartReturnsThePathAndTracesIt) {
    EXPECT_EQ(start("/a"), "/a");
    EXPECT_EQ(representative.writingFile(), "/a");
    EXPECT_EQ(trace.log(), Log{info(starts + "path = /a")});
}

TEST_F(KTRMeetingAppRepresentativeTest, AStopReturnsThePathAndMovesItToTheWrittenFiles) {
    start("/a");
    trace.clear();
    EXPECT_EQ(representative.stopsLocalRecording(), "/a");
    EXPECT_EQ(representative.writingFile(), std::nullopt);
    EXPECT_EQ(representative.writtenFiles(), Paths{"/a"});
    EXPECT_EQ(trace.log(), Log{info(name + "stopsLocalRecording]: ")});
}

TEST_F(KTRMeetingAppRepresentativeTest, TheSamePathWrittenTwiceIsRequestedTwice) {
    start("/a");
    representative.stopsLocalRecording();
    start("/a");
    representative.stopsLocalRecording();
    representative.commencesConverting();
    EXPECT_EQ(requests->requests, (std::vector<Paths>{{"/a", "/a"}}));
}

TEST_F(KTRMeetingAppRepresentativeTest, ASecondStartWhileWritingIsRefusedWithAWarningAndItsPathForgotten) {
    start("/a");
    trace.clear();
    EXPECT_EQ(start("/b"), std::nullopt);
    EXPECT_EQ(trace.log(), Log{warning(starts + "Can't start before previous writing is stopped.")});
    EXPECT_EQ(representative.writingFile(), "/a");
    EXPECT_EQ(representative.stopsLocalRecording(), "/a");
    EXPECT_EQ(representative.writtenFiles(), Paths{"/a"}) << "/b must never reach the written files";
}

TEST_F(KTRMeetingAppRepresentativeTest, CommencingWhileWritingCountsTheFileAsTheLastWrittenOne) {
    start("/a");
    representative.stopsLocalRecording();
    start("/b");
    trace.clear();
    representative.commencesConverting();
    EXPECT_EQ(requests->requests, (std::vector<Paths>{{"/a", "/b"}}));
    EXPECT_EQ(representative.writingFile(), std::nullopt);
    EXPECT_EQ(trace.log(), Log{info(name + "commencesConverting]: pid = 4711")});
}

TEST_F(KTRMeetingAppRepresentativeTest, CommencingAfreshRequestsAnEmptyList) {
    representative.commencesConverting();
    EXPECT_EQ(requests->requests, (std::vector<Paths>{{}}));
    EXPECT_EQ(requests->senders, std::vector<const KTRMeetingAppRepresentative*>{&representative});
}

TEST_F(KTRMeetingAppRepresentativeTest, AStopWithNothingBeingWrittenIsAbsentAndChangesNothing) {
    EXPECT_EQ(representative.stopsLocalRecording(), std::nullopt);
    EXPECT_TRUE(representative.writtenFiles().empty());
    EXPECT_EQ(trace.log(), Log{info(name + "stopsLocalRecording]: ")});
}

TEST_F(KTRMeetingAppRepresentativeTest, AnAbsentPathIsNotRefusedAndLeavesNothingBeingWritten) {
    EXPECT_EQ(start(std::nullopt), std::nullopt);
    EXPECT_EQ(trace.log(), Log{info(starts + "path = (null)")}) << "traced as the trace writes an absent text";
    EXPECT_EQ(start("/a"), "/a");
}

TEST_F(KTRMeetingAppRepresentativeTest, AnEmptyPathIsAPath) {
    EXPECT_EQ(start(""), "");
    EXPECT_EQ(start("/a"), std::nullopt);
    EXPECT_EQ(representative.stopsLocalRecording(), "");
    EXPECT_EQ(representative.writtenFiles(), Paths{""});
}

TEST_F(KTRMeetingAppRepresentativeTest, DoneWithWritingTracesNothing) {
    start("/a");
    trace.clear();
    representative.doneWithWriting();
    representative.doneWithWriting();
    EXPECT_TRUE(trace.log().empty());
    EXPECT_EQ(representative.writtenFiles(), Paths{"/a"});
}

TEST_F(KTRMeetingAppRepresentativeTest, ConvertRecordsLeavesTheWrittenFilesAsTheyAreAndTheWritingOneOut) {
    start("/a");
    representative.stopsLocalRecording();
    start("/b");
    representative.convertRecords();
    representative.convertRecords();
    EXPECT_EQ(requests->requests, (std::vector<Paths>{{"/a"}, {"/a"}}));
    EXPECT_EQ(representative.writingFile(), "/b");
}

TEST_F(KTRMeetingAppRepresentativeTest, TheRequestIsACopyThatLaterFilesDoNotChange) {
    class Keeping final : public KTRMeetingAppRepresentativeDelegate {
    public:
        void meetingAppRepresentativeRequestsToConvertRecords(KTRMeetingAppRepresentative& representative,
                                                              const Paths& paths) override {
            representative.setWrittenFiles({"/other"});
            kept = paths;
        }
        Paths kept;
    };
    const auto keeping = std::make_shared<Keeping>();
    representative.setDelegate(keeping);
    start("/a");
    representative.commencesConverting();
    EXPECT_EQ(keeping->kept, Paths{"/a"});
}

TEST_F(KTRMeetingAppRepresentativeTest, RetiringIsTracedAndTold) {
    representative.retire();
    EXPECT_EQ(trace.log(), Log{info(name + "retire]: ")});
    EXPECT_EQ(requests->retired, std::vector<const KTRMeetingAppRepresentative*>{&representative});
}

TEST_F(KTRMeetingAppRepresentativeTest, WithoutADelegateOrWithOneThatImplementsNothingItOnlyTraces) {
    const auto nothing = std::make_shared<KTRMeetingAppRepresentativeDelegate>();
    for (const std::shared_ptr<KTRMeetingAppRepresentativeDelegate>& delegate :
         {std::shared_ptr<KTRMeetingAppRepresentativeDelegate>(), nothing}) {
        trace.clear();
        representative.setDelegate(delegate);
        representative.commencesConverting();
        representative.retire();
        EXPECT_EQ(trace.log(), (Log{info(name + "commencesConverting]: pid = 4711"), info(name + "retire]: ")}));
    }
}

TEST_F(KTRMeetingAppRepresentativeTest, TheDelegateIsNotKeptAlive) {
    const std::weak_ptr<Requests> watched = requests;
    requests = nullptr;
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(representative.delegate(), nullptr);
}

TEST_F(KTRMeetingAppRepresentativeTest, FilesCanBeSet) {
    representative.setWritingFile("/w");
    representative.setWrittenFiles({"/x", "/y"});
    representative.commencesConverting();
    EXPECT_EQ(requests->requests, (std::vector<Paths>{{"/x", "/y", "/w"}}));
}

}  // namespace
