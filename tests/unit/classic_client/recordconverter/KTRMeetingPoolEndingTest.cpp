/// How meeting processes leave the pool, by a quit, by an exit or by being retired, and what is converted then.

#include "support/Sequence.h"
#include "unit/classic_client/recordconverter/KTRMeetingPoolTest.h"
#include "unit/classic_client/recordconverter/ProcessGuardLines.h"

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using test::info;
using test::KTRMeetingPoolTest;
using test::Log;
using test::observingExit;
using test::unguarding;

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
    EXPECT_EQ(trace.log(), (Log{observingExit(4711), commencing(4711)}));
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

TEST_F(KTRMeetingPoolTest, AQuitFromAnUnknownProcessGivesAnEmptyRequestAndLeavesTheCount) {
    start(1, "/one");
    trace.clear();
    quit(99);
    EXPECT_EQ(trace.log(), (Log{instanticating(99), representativeInit(99), unguarding(99), commencing(99)}));
    EXPECT_EQ(jobs->log.back(), "request of 99:");
    EXPECT_EQ(count(), 1U);
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
