#include "KTRAppInlet.h"

#include "platform/DistributedNotificationCenter.h"
#include "support/FakeDistributedNotificationCenter.h"
#include "support/FakeProcessInformation.h"
#include "support/MeetingNotifications.h"
#include "support/RecordingTrace.h"
#include "support/Sequence.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using platform::DistributedNotification;
using platform::UserInfo;
using platform::UserInfoValue;
using test::info;
using test::Log;
using test::meetingNotification;
using test::warning;

const std::string onExternal = "-[KTRAppInlet onExternalNotification:]: ";
const std::string ack = "-[KTRAppInlet ackNotification:]: ";

const char* const started = kMeetingRecordNotificationName_RecordingStarted;
const char* const stopped = kMeetingRecordNotificationName_RecordingStopped;
const char* const quit = kMeetingRecordNotificationName_MeetingAppQuit;

class Events final : public KTRAppInletDelegate {
public:
    explicit Events(Log& log) : log_(log) {}

    void
    appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(KTRAppInlet& inlet, std::int32_t pid,
                                                                      const std::optional<std::string>& path) override {
        note("start of " + std::to_string(pid) + " to " + path.value_or("(absent)"), inlet);
    }
    void appInletSeesMeetingRecordStopedInProcess(KTRAppInlet& inlet, std::int32_t pid) override {
        note("stop of " + std::to_string(pid), inlet);
    }
    void appInletSeesMeetingQuitFromProcess(KTRAppInlet& inlet, std::int32_t pid) override {
        note("quit of " + std::to_string(pid), inlet);
    }

    const KTRAppInlet* expectedInlet = nullptr;

private:
    void note(const std::string& event, const KTRAppInlet& inlet) {
        EXPECT_EQ(&inlet, expectedInlet);
        log_.push_back("delegate sees " + event);
    }

    Log& log_;
};

/// Implements only the stop.
class StopEvents final : public KTRAppInletDelegate {
public:
    void appInletSeesMeetingRecordStopedInProcess(KTRAppInlet&, std::int32_t pid) override { stops.push_back(pid); }

    std::vector<std::int32_t> stops;
};

class KTRAppInletTest : public testing::Test {
protected:
    KTRAppInletTest() {
        inlet = std::make_unique<KTRAppInlet>(center, processInformation);
        events->expectedInlet = inlet.get();
        inlet->setDelegate(events);
        center.setOnPost([this](const DistributedNotification& posted) { log.push_back("post " + posted.name); });
        trace.clear();
    }

    test::RecordingTrace trace;
    test::FakeDistributedNotificationCenter center;
    test::FakeProcessInformation processInformation{4242, {"prog"}};
    Log log;
    std::shared_ptr<Events> events = std::make_shared<Events>(log);
    std::unique_ptr<KTRAppInlet> inlet;
};

TEST_F(KTRAppInletTest, TracesItsInitAndListensToTheThreeNamesOnce) {
    const KTRAppInlet another(center, processInformation);
    EXPECT_EQ(trace.log(), Log{info("-[KTRAppInlet init]: ")});
    for (const char* const name : {started, stopped, quit}) {
        EXPECT_EQ(center.observerCount(name), 2U) << name << ": one for each inlet";
    }
}

TEST_F(KTRAppInletTest, NeverObservesWhatIsForTheClients) {
    EXPECT_EQ(center.observerCount(kMeetingRecordNotificationName_AckNotification), 0U);
    EXPECT_EQ(center.observerCount(kMeetingRecordNotificationName_AppSpawnConfirm), 0U);
}

TEST_F(KTRAppInletTest, TracesItsDeallocAndTurnsADeafEar) {
    inlet = nullptr;
    EXPECT_EQ(trace.log(), Log{info("-[KTRAppInlet dealloc]: ")});
    for (const char* const name : {started, stopped, quit}) {
        EXPECT_EQ(center.observerCount(name), 0U) << name;
    }
}

TEST_F(KTRAppInletTest, AStartIsTracedAcknowledgedAndTold) {
    center.deliver(meetingNotification(started, std::int32_t{4711}, std::string("/rec/one.rec")));
    EXPECT_EQ(log, (Log{"post kMeetingRecordNotificationName_AckNotification",
                        "delegate sees start of 4711 to /rec/one.rec"}));
    EXPECT_EQ(trace.log(),
              (Log{info(onExternal + "kMeetingRecordNotificationName_RecordingStarted"),
                   info(ack + "kMeetingRecordNotificationName_RecordingStarted, from p_id = 4242, to p_id = 4711")}));
}

TEST_F(KTRAppInletTest, AStopGivesExactlyOneAcknowledgementBeforeItTellsTheDelegate) {
    center.deliver(meetingNotification(stopped, std::int32_t{4711}));
    EXPECT_EQ(log, (Log{"post kMeetingRecordNotificationName_AckNotification", "delegate sees stop of 4711"}));
    ASSERT_EQ(center.posted().size(), 1U);
    const auto& posted = center.posted()[0];
    EXPECT_EQ(posted.name, "kMeetingRecordNotificationName_AckNotification");
    EXPECT_EQ(posted.object, std::nullopt);
    EXPECT_EQ(posted.userInfo, (UserInfo{{"kMeetingRecordNotificationKey_AckNotificationName",
                                          std::string("kMeetingRecordNotificationName_RecordingStopped")},
                                         {"kMeetingRecordNotificationKey_AckFromProcessId", std::int32_t{4242}},
                                         {"kMeetingRecordNotificationKey_AckToProcessId", std::int32_t{4711}}}));
    EXPECT_EQ(trace.log(),
              (Log{info(onExternal + "kMeetingRecordNotificationName_RecordingStopped"),
                   info(ack + "kMeetingRecordNotificationName_RecordingStopped, from p_id = 4242, to p_id = 4711")}));
}

TEST_F(KTRAppInletTest, AQuitIsTracedAcknowledgedAndTold) {
    center.deliver(meetingNotification(quit, std::int32_t{4711}));
    EXPECT_EQ(log, (Log{"post kMeetingRecordNotificationName_AckNotification", "delegate sees quit of 4711"}));
    EXPECT_EQ(trace.log(),
              (Log{info(onExternal + "kMeetingRecordNotificationName_MeetingAppQuit"),
                   info(ack + "kMeetingRecordNotificationName_MeetingAppQuit, from p_id = 4242, to p_id = 4711")}));
}

TEST_F(KTRAppInletTest, AStartWithoutUserInfoReachesTheDelegateWithIdZeroAndNoPathAndIsNotAcknowledged) {
    center.deliver({started, std::nullopt, std::nullopt});
    EXPECT_EQ(log, Log{"delegate sees start of 0 to (absent)"});
    EXPECT_TRUE(center.posted().empty());
    EXPECT_EQ(trace.log(), Log{info(onExternal + "kMeetingRecordNotificationName_RecordingStarted")});
}

TEST_F(KTRAppInletTest, UserInfoWithoutAProcessIdIsNotAcknowledgedAndActedOnWithIdZero) {
    center.deliver({started, std::nullopt,
                    UserInfo{{kMeetingRecordNotificationKey_RecordIntermediatePath, std::string("/a.rec")}}});
    center.deliver({stopped, std::nullopt, UserInfo{}});
    center.deliver({quit, std::nullopt, std::nullopt});
    EXPECT_EQ(log, (Log{"delegate sees start of 0 to /a.rec", "delegate sees stop of 0", "delegate sees quit of 0"}));
}

TEST_F(KTRAppInletTest, AStartWithoutAPathIsToldWithoutOne) {
    center.deliver(meetingNotification(started, std::int32_t{4711}));
    EXPECT_EQ(log.back(), "delegate sees start of 4711 to (absent)");
}

TEST_F(KTRAppInletTest, NothingIsValidated) {
    center.deliver(meetingNotification(started, std::int32_t{-3}, std::string()));
    center.deliver(meetingNotification(started, std::int32_t{0}, std::string("no/such file")));
    EXPECT_EQ(log,
              (Log{"post kMeetingRecordNotificationName_AckNotification", "delegate sees start of -3 to ",
                   "post kMeetingRecordNotificationName_AckNotification", "delegate sees start of 0 to no/such file"}));
}

TEST_F(KTRAppInletTest, APathAsBytesIsTakenAsItIs) {
    center.deliver(meetingNotification(started, std::int32_t{1}, platform::Bytes{'/', 0xFF, 'x'}));
    EXPECT_EQ(log.back(), "delegate sees start of 1 to /\xFFx");
}

TEST_F(KTRAppInletTest, TheAcknowledgedIdGoesBackWithTheVeryValueAndTypeThatCame) {
    const std::vector<UserInfoValue> ids = {std::int32_t{-5},
                                            std::uint32_t{4000000000U},
                                            std::int64_t{5000000000},
                                            std::uint64_t{18000000000000000000U},
                                            std::int16_t{-6},
                                            std::uint16_t{60000},
                                            std::uint8_t{200},
                                            4711.75,
                                            std::string("4711 and more"),
                                            true,
                                            platform::Bytes{'4', '2'}};
    for (const auto& id : ids) {
        center.clearPosted();
        center.deliver(meetingNotification(stopped, id));
        ASSERT_EQ(center.posted().size(), 1U);
        const auto& back = center.posted()[0].userInfo->at(kMeetingRecordNotificationKey_AckToProcessId);
        EXPECT_EQ(back.index(), id.index()) << "another type came back";
        EXPECT_EQ(back, id);
    }
}

TEST_F(KTRAppInletTest, TheIntegerValueOfTheIdIsTraced) {
    center.deliver(meetingNotification(stopped, std::string(" 12ab")));
    EXPECT_EQ(trace.log().back(),
              info(ack + "kMeetingRecordNotificationName_RecordingStopped, from p_id = 4242, to p_id = 12"));
    EXPECT_EQ(log.back(), "delegate sees stop of 12");
}

TEST_F(KTRAppInletTest, ANotificationWithAnyObjectStringIsStillReceived) {
    auto withObject = meetingNotification(stopped, std::int32_t{4711});
    withObject.object = "some.other.sender";
    center.deliver(withObject);
    EXPECT_EQ(log.back(), "delegate sees stop of 4711");
    EXPECT_EQ(center.posted()[0].object, std::nullopt) << "the converter's own carry no object";
}

TEST_F(KTRAppInletTest, ADelegateThatImplementsOnlySomeMethodsReceivesThoseAndTheOthersAreDroppedWithoutALine) {
    const auto stops = std::make_shared<StopEvents>();
    inlet->setDelegate(stops);
    center.deliver({started, std::nullopt, std::nullopt});
    center.deliver({stopped, std::nullopt, std::nullopt});
    center.deliver({quit, std::nullopt, std::nullopt});
    EXPECT_EQ(stops->stops, std::vector<std::int32_t>{0});
    EXPECT_EQ(trace.log(), (Log{info(onExternal + "kMeetingRecordNotificationName_RecordingStarted"),
                                info(onExternal + "kMeetingRecordNotificationName_RecordingStopped"),
                                info(onExternal + "kMeetingRecordNotificationName_MeetingAppQuit")}));
}

TEST_F(KTRAppInletTest, WithoutADelegateNotificationsAreTracedAndAcknowledgedAndDropped) {
    inlet->setDelegate(nullptr);
    for (const char* const name : {started, stopped, quit}) {
        center.deliver(meetingNotification(name, std::int32_t{1}));
    }
    EXPECT_EQ(center.posted().size(), 3U);
    EXPECT_EQ(trace.log().size(), 6U);
    EXPECT_EQ(log.size(), 3U) << "only the three acknowledgements are posted";
}

TEST_F(KTRAppInletTest, AfterTurningADeafEarNoNotificationReachesTheInlet) {
    inlet->turnDeafEar();
    for (const char* const name : {started, stopped, quit}) {
        center.deliver(meetingNotification(name, std::int32_t{1}));
    }
    EXPECT_TRUE(log.empty());
    EXPECT_TRUE(trace.log().empty());
}

TEST_F(KTRAppInletTest, ListeningTwiceMakesEverythingArriveTwice) {
    inlet->listenToOutside();
    center.deliver(meetingNotification(stopped, std::int32_t{1}));
    EXPECT_EQ(center.posted().size(), 2U);
}

TEST_F(KTRAppInletTest, AnUnknownNameIsAcknowledgedAndWarnedOf) {
    inlet->onExternalNotification(meetingNotification("Other", std::int32_t{8}));
    EXPECT_EQ(log, Log{"post kMeetingRecordNotificationName_AckNotification"});
    EXPECT_EQ(center.posted()[0].userInfo->at(kMeetingRecordNotificationKey_AckNotificationName),
              UserInfoValue(std::string("Other")));
    EXPECT_EQ(trace.log(), (Log{info(onExternal + "Other"), info(ack + "Other, from p_id = 4242, to p_id = 8"),
                                warning(onExternal + "unknown external notification Other")}));
}

TEST_F(KTRAppInletTest, NamesAreComparedExactly) {
    inlet->onExternalNotification({"kmeetingrecordnotificationname_recordingstarted", std::nullopt, std::nullopt});
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(trace.log().back(),
              warning(onExternal + "unknown external notification kmeetingrecordnotificationname_recordingstarted"));
}

TEST(KTRAppInletOrderTest, ItListensToStartsThenStopsThenQuits) {
    test::FakeDistributedNotificationCenter center;
    const test::FakeProcessInformation processInformation;
    const test::Sequence sequence;
    const KTRAppInlet inlet(center, processInformation);
    const std::string observe = "distributed center: observe ";
    EXPECT_EQ(sequence.events(observe), (std::vector{observe + started, observe + stopped, observe + quit}));
}

}  // namespace
