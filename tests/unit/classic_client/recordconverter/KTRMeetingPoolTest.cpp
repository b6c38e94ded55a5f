#include "KTRMeetingPool.h"

#include "support/FakeDistributedNotificationCenter.h"
#include "support/FakeProcessExitWatch.h"
#include "support/FakeProcessInformation.h"
#include "support/FakeSystemLog.h"
#include "support/RecordingTrace.h"
#include "support/Sequence.h"

#include <cstdint>
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

std::string joined(const Paths& paths) {
    std::string text;
    for (const auto& path : paths) {
        text += ' ' + path;
    }
    return text;
}

class Jobs final : public KTRMeetingPoolDelegate {
public:
    void meetingPoolDidReceiveJobFromProcessWritingTo(KTRMeetingPool& pool, std::int32_t pid,
                                                      const std::optional<std::string>& path) override {
        note("job of " + std::to_string(pid) + ": " + path.value_or("(absent)"), pool);
    }
    void meetingPoolDidStashJobFromProcessSavedAt(KTRMeetingPool& pool, std::int32_t pid,
                                                  const std::optional<std::string>& path) override {
        note("stash of " + std::to_string(pid) + ": " + path.value_or("(absent)"), pool);
    }
    void meetingPoolDidReceiveRequestFromProcessToConvertRecords(KTRMeetingPool& pool, std::int32_t pid,
                                                                 const Paths& paths) override {
        note("request of " + std::to_string(pid) + ":" + joined(paths), pool);
        countAtRequest = pool.countOfMeetingProcesses();
    }
    void meetingPoolDidExhaust(KTRMeetingPool& pool) override { note("exhausted", pool); }

    Log log;
    const KTRMeetingPool* expectedPool = nullptr;
    std::size_t countAtRequest = 99;

private:
    void note(const std::string& event, const KTRMeetingPool& pool) {
        EXPECT_EQ(&pool, expectedPool);
        log.push_back(event);
    }
};

std::string guarding(std::int32_t pid) {
    return info("-[KTRProcessGuard guardProcessWithPid:]: process guard for pid = " + std::to_string(pid));
}
std::string unguarding(std::int32_t pid) {
    return info("-[KTRProcessGuard removeGuardProcessWithPid:]: remove process guard for pid = " + std::to_string(pid));
}
std::string instanticating(std::int32_t pid) {
    return info("-[KTRMeetingPool meetingAppRepresentativeForProcess:]: instanticating new App Rep for pid = " +
                std::to_string(pid));
}
std::string representativeInit(std::int32_t pid) {
    return info("-[KTRMeetingAppRepresentative initWithMeetingAppProcessId:]: pid = " + std::to_string(pid));
}
std::string starting(const std::string& path) {
    return info("-[KTRMeetingAppRepresentative startsLocalRecordingWithIntermediateFile:]: path = " + path);
}
std::string commencing(std::int32_t pid) {
    return info("-[KTRMeetingAppRepresentative commencesConverting]: pid = " + std::to_string(pid));
}

class KTRMeetingPoolTest : public testing::Test {
protected:
    KTRMeetingPoolTest() {
        pool->setDelegate(jobs);
        jobs->expectedPool = pool.get();
        trace.clear();
    }

    void start(std::int32_t pid, const std::optional<std::string>& path) {
        pool->appInletSeesMeetingRecordStartedInProcessSavingToIntermediateFile(inlet, pid, path);
    }
    void stop(std::int32_t pid) { pool->appInletSeesMeetingRecordStopedInProcess(inlet, pid); }
    void quit(std::int32_t pid) { pool->appInletSeesMeetingQuitFromProcess(inlet, pid); }
    std::size_t count() const { return pool->countOfMeetingProcesses(); }

    test::RecordingTrace trace;
    test::FakeSystemLog systemLog;
    test::FakeProcessExitWatch exitWatch;
    test::FakeDistributedNotificationCenter center;
    test::FakeProcessInformation processInformation;
    KTRAppInlet inlet{center, processInformation};
    std::shared_ptr<Jobs> jobs = std::make_shared<Jobs>();
    std::shared_ptr<KTRMeetingPool> pool = KTRMeetingPool::create(exitWatch);
};

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

TEST_F(KTRMeetingPoolTest, TwoProcessesEachStartThenQuitGiveTwoRequestsAndAnEmptyPool) {
    start(1, "/one");
    start(2, "/two");
    EXPECT_EQ(count(), 2U);
    quit(2);
    quit(1);
    EXPECT_EQ(jobs->log, (Log{"job of 1: /one", "job of 2: /two", "request of 2: /two", "request of 1: /one"}));
    EXPECT_EQ(count(), 0U);
}

TEST_F(KTRMeetingPoolTest, ExitWithoutQuitConvertsTheFileBeingWritten) {
    start(4711, "/a");
    trace.clear();
    exitWatch.exit(4711);
    EXPECT_EQ(jobs->log, (Log{"job of 4711: /a", "request of 4711: /a"}));
    EXPECT_EQ(trace.log(), (Log{info("NoteExitKQueueCallback: observe process exit pid 4711"), commencing(4711)}));
    EXPECT_TRUE(systemLog.lines().empty()) << "an exit is no quit";
    EXPECT_EQ(count(), 0U);
}

TEST_F(KTRMeetingPoolTest, QuitThenExitGivesOneRequestAndTheExitIsIgnored) {
    start(4711, "/a");
    quit(4711);
    exitWatch.exit(4711);
    EXPECT_EQ(jobs->log, (Log{"job of 4711: /a", "request of 4711: /a"}));
    EXPECT_EQ(count(), 0U);
}

TEST_F(KTRMeetingPoolTest, ExitThenALateQuitMakesAnEmptyRepresentativeAndAnEmptyRequest) {
    start(4711, "/a");
    exitWatch.exit(4711);
    quit(4711);
    EXPECT_EQ(jobs->log, (Log{"job of 4711: /a", "request of 4711: /a", "request of 4711:"}));
    EXPECT_EQ(count(), 0U);
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

TEST_F(KTRMeetingPoolTest, AQuitFromAnUnknownProcessGivesAnEmptyRequestAndLeavesTheCount) {
    start(1, "/one");
    trace.clear();
    quit(99);
    EXPECT_EQ(trace.log(), (Log{instanticating(99), representativeInit(99), unguarding(99), commencing(99)}));
    EXPECT_EQ(jobs->log.back(), "request of 99:");
    EXPECT_EQ(count(), 1U);
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

TEST_F(KTRMeetingPoolTest, ARequestHoldsAllWrittenFilesInOrder) {
    start(4711, "/a");
    stop(4711);
    start(4711, "/b");
    stop(4711);
    start(4711, "/c");
    exitWatch.exit(4711);
    EXPECT_EQ(jobs->log.back(), "request of 4711: /a /b /c");
}

TEST_F(KTRMeetingPoolTest, AProcessThatStartsAgainAfterItWasGoneBeginsAfreshAndIsGuardedAgain) {
    start(4711, "/a");
    quit(4711);
    start(4711, "/b");
    EXPECT_EQ(exitWatch.watched(), (std::vector<std::int32_t>{4711, 4711}));
    quit(4711);
    EXPECT_EQ(jobs->log.back(), "request of 4711: /b") << "files already asked for are not asked for again";
}

TEST_F(KTRMeetingPoolTest, OneProcessHasOneRepresentativeEverAfter) {
    const auto first = pool->meetingAppRepresentativeForProcess(4711);
    EXPECT_EQ(pool->meetingAppRepresentativeForProcess(4711), first);
    EXPECT_EQ(first->delegate(), pool);
    EXPECT_EQ(trace.log(), (Log{instanticating(4711), representativeInit(4711)}));
    EXPECT_TRUE(exitWatch.watched().empty()) << "asking for a representative does not guard";
}

TEST_F(KTRMeetingPoolTest, QuitsAndExitsNeverTellOfExhaustion) {
    start(1, "/a");
    start(2, "/b");
    quit(1);
    exitWatch.exit(2);
    EXPECT_EQ(count(), 0U);
    for (const auto& event : jobs->log) {
        EXPECT_NE(event, "exhausted");
    }
}

TEST_F(KTRMeetingPoolTest, RetiringExpelsAndTheLastOneExhaustsThePool) {
    start(1, "/a");
    start(2, "/b");
    const auto first = pool->meetingAppRepresentativeForProcess(1);
    const auto second = pool->meetingAppRepresentativeForProcess(2);
    trace.clear();
    jobs->log.clear();
    first->retire();
    EXPECT_EQ(trace.log(), (Log{info("-[KTRMeetingAppRepresentative retire]: "),
                                info("-[KTRMeetingPool expellMeetingAppRepresentativeWithProcessId:]: pid = 1")}));
    EXPECT_TRUE(jobs->log.empty());
    trace.clear();
    second->retire();
    EXPECT_EQ(trace.log(),
              (Log{info("-[KTRMeetingAppRepresentative retire]: "),
                   info("-[KTRMeetingPool expellMeetingAppRepresentativeWithProcessId:]: pid = 2"),
                   info("-[KTRMeetingPool expellMeetingAppRepresentativeWithProcessId:]: meeting pool exhausted.")}));
    EXPECT_EQ(jobs->log, Log{"exhausted"});
    EXPECT_EQ(count(), 0U);
}

TEST_F(KTRMeetingPoolTest, ExpellingAnUnknownProcessFromAnEmptyPoolExhaustsItToo) {
    pool->expellMeetingAppRepresentativeWithProcessId(5);
    EXPECT_EQ(jobs->log, Log{"exhausted"});
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

/// How many processes the pool knew when this was traced for the first time.
class CountAt {
public:
    CountAt(test::RecordingTrace& trace, const KTRMeetingPool& pool, const std::string& line) {
        trace.setOnLine([this, &pool, line](const test::TraceLine& traced) {
            if (info(traced.text) == line && !count) {
                count = pool.countOfMeetingProcesses();
            }
        });
    }

    std::optional<std::size_t> count;
};

TEST_F(KTRMeetingPoolTest, AnExitRemovesTheProcessBeforeItConverts) {
    start(7, "/one");
    const CountAt at(trace, *pool, commencing(7));
    exitWatch.exit(7);
    EXPECT_EQ(at.count, 0U);
}

TEST_F(KTRMeetingPoolTest, AQuitLogsThenUnguardsThenRemovesThenConverts) {
    start(7, "/one");
    trace.clear();
    const test::Sequence sequence;
    const CountAt guarded(trace, *pool, unguarding(7));
    quit(7);
    EXPECT_EQ(trace.log(), (Log{unguarding(7), commencing(7)}));
    EXPECT_EQ(systemLog.lines(), Log{"Meeting App Quit"});
    EXPECT_EQ(sequence.events().front(), "system log: Meeting App Quit");
    EXPECT_EQ(guarded.count, 1U) << "the guard ends before the process is removed";
    EXPECT_EQ(jobs->log.back(), "request of 7: /one");
    EXPECT_EQ(jobs->countAtRequest, 0U) << "the process has left before its files are asked for";
}

TEST_F(KTRMeetingPoolTest, AQuitOfAnUnknownProcessIsLoggedFirst) {
    const test::Sequence sequence;
    quit(7);
    EXPECT_EQ(sequence.events().front(), "system log: Meeting App Quit");
}

}  // namespace
