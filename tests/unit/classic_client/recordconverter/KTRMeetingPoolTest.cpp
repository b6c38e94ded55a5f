#include "KTRMeetingPool.h"

#include "unit/classic_client/recordconverter/KTRMeetingPoolTest.h"
#include "unit/classic_client/recordconverter/ProcessGuardLines.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using test::guarding;
using test::info;
using test::KTRMeetingPoolTest;
using test::Log;
using test::warning;

std::string starting(const std::string& path) {
    return info("-[KTRMeetingAppRepresentative startsLocalRecordingWithIntermediateFile:]: path = " + path);
}

TEST_F(KTRMeetingPoolTest, BeginsEmptyAndIsItsGuardsDelegate) {
    const auto another = KTRMeetingPool::create(exitWatch);
    EXPECT_EQ(trace.log(), Log{info("-[KTRMeetingPool init]: ")});
    EXPECT_EQ(another->countOfMeetingProcesses(), 0U);
    ASSERT_NE(another->processGuard(), nullptr);
    EXPECT_EQ(another->processGuard()->delegate(), another);
    EXPECT_EQ(another->delegate(), nullptr);
}

TEST_F(KTRMeetingPoolTest, AStartGuardsFirstThenMakesTheRepresentativeThenTellsTheDelegate) {
    start(4711, "/a");
    EXPECT_EQ(trace.log(), (Log{guarding(4711), instanticating(4711), representativeInit(4711), starting("/a")}));
    EXPECT_EQ(jobs->log, Log{"job of 4711: /a"});
    EXPECT_EQ(count(), 1U);
}

TEST_F(KTRMeetingPoolTest, TheFirstProcessFromTheCommandLineIsAStartLikeAnyOther) {
    pool->fletchWithFirstMeetingProcessSavingToIntermediateFile(4711, "/a");
    EXPECT_EQ(trace.log(), (Log{guarding(4711), instanticating(4711), representativeInit(4711), starting("/a")}));
    EXPECT_EQ(jobs->log, Log{"job of 4711: /a"});
    EXPECT_EQ(pool->processGuard()->guardProcessIdArr(), std::vector<std::int32_t>{4711});
}

TEST_F(KTRMeetingPoolTest, AStopTellsOfTheStashedFile) {
    start(4711, "/a");
    trace.clear();
    stop(4711);
    EXPECT_EQ(jobs->log, (Log{"job of 4711: /a", "stash of 4711: /a"}));
    EXPECT_EQ(trace.log(), Log{info("-[KTRMeetingAppRepresentative stopsLocalRecording]: ")});
    EXPECT_EQ(count(), 1U);
}

TEST_F(KTRMeetingPoolTest, ASecondFileWhileTheFirstIsWrittenIsNotTakenAndTheProcessIsGuardedOnce) {
    start(4711, "/a");
    trace.clear();
    start(4711, "/b");
    EXPECT_EQ(jobs->log, Log{"job of 4711: /a"});
    EXPECT_EQ(trace.log(), (Log{guarding(4711), warning("-[KTRMeetingAppRepresentative "
                                                        "startsLocalRecordingWithIntermediateFile:]: Can't start "
                                                        "before previous writing is stopped.")}));
    EXPECT_EQ(exitWatch.watched(), std::vector<std::int32_t>{4711});
    quit(4711);
    EXPECT_EQ(jobs->log.back(), "request of 4711: /a");
}

TEST_F(KTRMeetingPoolTest, AStopFromAnUnknownProcessTellsNobodyAndTheCountGoesUp) {
    stop(99);
    EXPECT_TRUE(jobs->log.empty());
    EXPECT_EQ(count(), 1U);
    EXPECT_TRUE(exitWatch.watched().empty()) << "and that process is not guarded";
    EXPECT_EQ(trace.log(), (Log{instanticating(99), representativeInit(99),
                                info("-[KTRMeetingAppRepresentative stopsLocalRecording]: ")}));
    quit(99);
    EXPECT_EQ(count(), 0U);
}

TEST_F(KTRMeetingPoolTest, AStartWithoutAPathTellsNobodyButGuardsAndKeepsTheProcess) {
    start(4711, std::nullopt);
    EXPECT_TRUE(jobs->log.empty());
    EXPECT_EQ(count(), 1U);
    EXPECT_EQ(exitWatch.watched(), std::vector<std::int32_t>{4711});
    EXPECT_EQ(trace.log().back(), starting("(null)"));
    start(4711, "/a");
    EXPECT_EQ(jobs->log, Log{"job of 4711: /a"});
}

TEST_F(KTRMeetingPoolTest, OneProcessHasOneRepresentativeEverAfter) {
    const auto first = pool->meetingAppRepresentativeForProcess(4711);
    EXPECT_EQ(pool->meetingAppRepresentativeForProcess(4711), first);
    EXPECT_EQ(first->delegate(), pool);
    EXPECT_EQ(trace.log(), (Log{instanticating(4711), representativeInit(4711)}));
    EXPECT_TRUE(exitWatch.watched().empty()) << "asking for a representative does not guard";
}

TEST_F(KTRMeetingPoolTest, WithoutADelegateOrWithOneThatImplementsNothingEverythingStillHappens) {
    const auto nothing = std::make_shared<KTRMeetingPoolDelegate>();
    for (const std::shared_ptr<KTRMeetingPoolDelegate>& delegate :
         {std::shared_ptr<KTRMeetingPoolDelegate>(), nothing}) {
        pool->setDelegate(delegate);
        start(4711, "/a");
        stop(4711);
        EXPECT_EQ(count(), 1U);
        quit(4711);
        EXPECT_EQ(count(), 0U);
        pool->expellMeetingAppRepresentativeWithProcessId(4711);
    }
}

TEST_F(KTRMeetingPoolTest, TheTableAndTheGuardCanBeSetAndTheCountFollows) {
    pool->setMeetingApps(
        {{1, std::make_shared<KTRMeetingAppRepresentative>(1)}, {2, std::make_shared<KTRMeetingAppRepresentative>(2)}});
    EXPECT_EQ(count(), 2U);
    EXPECT_EQ(pool->meetingApps().size(), 2U);
    const auto guard = KTRProcessGuard::create(exitWatch);
    pool->setProcessGuard(guard);
    EXPECT_EQ(pool->processGuard(), guard);
}

TEST_F(KTRMeetingPoolTest, IdsOfZeroAndBelowAreServedLikeAnyOther) {
    start(0, "/a");
    start(-1, "/b");
    EXPECT_EQ(count(), 2U);
    quit(0);
    quit(-1);
    EXPECT_EQ(jobs->log, (Log{"job of 0: /a", "job of -1: /b", "request of 0: /a", "request of -1: /b"}));
}

TEST_F(KTRMeetingPoolTest, TheDelegateIsNotKeptAlive) {
    const std::weak_ptr<Jobs> watched = jobs;
    jobs = nullptr;
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(pool->delegate(), nullptr);
}

}  // namespace
