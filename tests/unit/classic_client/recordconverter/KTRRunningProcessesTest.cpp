#include "KTRRunningProcesses.h"

#include "support/FakeProcessTable.h"

#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// A refused allocation is one of the cases below; the sanitizers would end the process instead.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options() {  // NOLINT(bugprone-reserved-identifier)
    return "allocator_may_return_null=1";
}

namespace {

using Record = KTRRunningProcesses::Record;
using Records = std::vector<Record>;

class KTRRunningProcessesTest : public testing::Test {
protected:
    std::string printed() {
        testing::internal::CaptureStdout();
        KTRRunningProcesses::printProcesses();
        return testing::internal::GetCapturedStdout();
    }

    test::FakeProcessTable table;
};

TEST_F(KTRRunningProcessesTest, ARecordHasFourEntriesInTheTablesOrder) {
    table.add(20, "meeting", 1000);
    table.add(1, "init", 0);
    table.setLoginName(1000, "ada");
    table.setLoginName(0, "root");
    EXPECT_EQ(KTRRunningProcesses::getBSDProcessList(), (Records{Record{{"processID", std::int32_t{20}},
                                                                        {"processName", std::string("meeting")},
                                                                        {"userID", std::uint32_t{1000}},
                                                                        {"userName", std::string("ada")}},
                                                                 Record{{"processID", std::int32_t{1}},
                                                                        {"processName", std::string("init")},
                                                                        {"userID", std::uint32_t{0}},
                                                                        {"userName", std::string("root")}}}));
}

TEST_F(KTRRunningProcessesTest, AUserThatTheDatabaseDoesNotKnowHasNeitherIdNorName) {
    table.add(7, "stray", 4294967294U);
    EXPECT_EQ(KTRRunningProcesses::getBSDProcessList(),
              (Records{Record{{"processID", std::int32_t{7}}, {"processName", std::string("stray")}}}));
}

TEST_F(KTRRunningProcessesTest, NamesHaveAtMostSixteenCharacters) {
    table.add(7, "a-very-long-command-name", 0);
    EXPECT_EQ(KTRRunningProcesses::getBSDProcessList().at(0).at("processName"),
              KTRRunningProcesses::Value(std::string("a-very-long-comm")));
}

TEST_F(KTRRunningProcessesTest, ATableThatGrowsBetweenTheTwoQuestionsIsMeasuredAgain) {
    table.add(1, "a", 0);
    int growths = 3;
    table.setAfterSize([&] {
        if (growths > 0) {
            table.add(100 + growths--, "late", 0);
        }
    });
    EXPECT_EQ(KTRRunningProcesses::getBSDProcessList().size(), 4U);
    EXPECT_EQ(table.sizeCount(), 4);
    EXPECT_EQ(table.readCount(), 4);
}

TEST_F(KTRRunningProcessesTest, ATableThatShrinksGivesWhatItReturns) {
    table.add(1, "a", 0);
    table.claimSize(100 * sizeof(platform::KernelProcess));
    EXPECT_EQ(KTRRunningProcesses::getBSDProcessList().size(), 1U);
}

TEST_F(KTRRunningProcessesTest, AnErrorInTheFirstQuestionGivesAnEmptyListWithoutTheSecond) {
    table.add(1, "a", 0);
    for (const int error : {EPERM, EINVAL}) {
        table.failSize(error);
        EXPECT_TRUE(KTRRunningProcesses::getBSDProcessList().empty());
    }
    EXPECT_EQ(table.readCount(), 0);
}

TEST_F(KTRRunningProcessesTest, AnotherErrorInTheSecondQuestionGivesAnEmptyListWithoutARepetition) {
    table.add(1, "a", 0);
    table.failRead(EPERM);
    EXPECT_TRUE(KTRRunningProcesses::getBSDProcessList().empty());
    EXPECT_EQ(table.readCount(), 1);
}

TEST_F(KTRRunningProcessesTest, MemoryThatCannotBeHadGivesAnEmptyListWithoutARepetition) {
    table.add(1, "a", 0);
    table.claimSize(~std::size_t{0} / 2);
    EXPECT_TRUE(KTRRunningProcesses::getBSDProcessList().empty());
    EXPECT_EQ(table.sizeCount(), 1);
    EXPECT_EQ(table.readCount(), 0);
}

TEST_F(KTRRunningProcessesTest, AnEmptyTableIsAnEmptyList) {
    EXPECT_TRUE(KTRRunningProcesses::getBSDProcessList().empty());
    EXPECT_EQ(table.readCount(), 1);
}

TEST(KTRRunningProcessesAloneTest, WithoutAProvidersTableThereAreNoProcesses) {
    EXPECT_TRUE(KTRRunningProcesses::getBSDProcessList().empty());
    testing::internal::CaptureStdout();
    KTRRunningProcesses::printProcesses();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(platform::ProcessTable::standard().executablePath(1), "");
    EXPECT_EQ(platform::ProcessTable::standard().loginName(0), std::nullopt);
}

TEST_F(KTRRunningProcessesTest, PrintsThePathOfEveryProcessThatHasOne) {
    table.add(3, "a", 0, "/usr/bin/a b");
    table.add(4, "kernel", 0);
    table.add(5, "c", 0, "/100%s");
    EXPECT_EQ(printed(), "path: /usr/bin/a b\npath: /100%s\n");
}

TEST_F(KTRRunningProcessesTest, TheByteCountIsUsedAsTheNumberOfIdsAndTheTailIsSkipped) {
    table.add(3, "a", 0, "/a");
    table.add(4, "b", 0, "/b");
    printed();
    EXPECT_EQ(table.listings(), (std::vector<std::size_t>{0, 8 * sizeof(std::int32_t)}));
    EXPECT_EQ(table.askedPaths(), (std::vector<std::int32_t>{3, 4})) << "no path is asked for id 0";
}

TEST_F(KTRRunningProcessesTest, ProcessIdZeroIsSkippedInTheMiddleToo) {
    table.add(3, "a", 0, "/a");
    table.add(0, "idle", 0, "/idle");
    table.add(4, "b", 0, "/b");
    EXPECT_EQ(printed(), "path: /a\npath: /b\n");
}

TEST(requireListExactlyWithoutErrorTest, AgreesWithAListAndNoErrorAndWithAnErrorAndNoList) {
    const int list = 0;
    requireListExactlyWithoutError(0, &list);
    requireListExactlyWithoutError(ENOMEM, nullptr);
}

TEST(requireListExactlyWithoutErrorDeathTest, EndsTheProcessNamingFunctionUnitAndLine) {
    const int list = 0;
    const char* const report =
        "\\(err == 0\\) == \\(\\*procList != NULL\\).*GetBSDProcessList.*KTRRunningProcesses.*109";
    EXPECT_DEATH(requireListExactlyWithoutError(0, nullptr), report);
    EXPECT_DEATH(requireListExactlyWithoutError(ENOMEM, &list), report);
}

}  // namespace
