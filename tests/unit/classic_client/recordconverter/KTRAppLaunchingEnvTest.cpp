#include "KTRAppLaunchingEnv.h"

#include "platform/IntegerReading.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::optional<std::string>>;

class KTRAppLaunchingEnvTest : public testing::Test {
protected:
    /// Process id, process name, locale, path, keeps intermediate file.
    Texts values() const {
        return {environment.parentProcessId(), environment.parentProcessName(), environment.localeId(),
                environment.filePath(), environment.keepsIntermediateFile()};
    }

    KTRAppLaunchingEnv environment;
};

const std::optional<std::string> none;

TEST_F(KTRAppLaunchingEnvTest, EveryValueIsAbsentAtFirst) {
    EXPECT_EQ(values(), (Texts{none, none, none, none, none}));
    EXPECT_FALSE(environment.assignmentBlock());
}

TEST_F(KTRAppLaunchingEnvTest, PidAndPathAreStoredAsTextsAndTheProgramPathIsIgnored) {
    environment.parseArguments({"prog", "-pid", "4711", "-path", "/tmp/a.rec"});
    EXPECT_EQ(values(), (Texts{"4711", none, none, "/tmp/a.rec", none}));
}

TEST_F(KTRAppLaunchingEnvTest, EachOptionFillsItsOwnField) {
    environment.parseArguments(
        {"prog", "-pid", "1", "-pname", "2", "-locale", "3", "-path", "4", "-keepsIntermediateFile", "5"});
    EXPECT_EQ(values(), (Texts{"1", "2", "3", "4", "5"}));
}

TEST_F(KTRAppLaunchingEnvTest, AnOptionNameReplacesThePendingAssignmentBeforeItGetsAValue) {
    environment.parseArguments({"-pid", "-path", "/x"});
    EXPECT_EQ(values(), (Texts{none, none, none, "/x", none}));
}

TEST_F(KTRAppLaunchingEnvTest, EveryOptionNameReplacesThePendingAssignment) {
    for (const char* const name : {"-pid", "-pname", "-locale", "-path", "-keepsIntermediateFile"}) {
        KTRAppLaunchingEnv fresh;
        fresh.parseArguments({"-pid", name, "value"});
        EXPECT_EQ(fresh.parentProcessId().has_value(), std::string(name) == "-pid") << name;
    }
}

TEST_F(KTRAppLaunchingEnvTest, TheLaterValueOfARepeatedOptionWins) {
    environment.parseArguments({"-pid", "1", "-pid", "2"});
    EXPECT_EQ(environment.parentProcessId(), "2");
}

TEST_F(KTRAppLaunchingEnvTest, LocaleAsTheLastArgumentStaysAbsentAndItsAssignmentStaysPending) {
    environment.parseArguments({"prog", "-locale"});
    EXPECT_EQ(values(), (Texts{none, none, none, none, none}));
    EXPECT_TRUE(environment.assignmentBlock());
}

TEST_F(KTRAppLaunchingEnvTest, AnAssignmentLeftBehindIsServedByTheNextArgument) {
    environment.parseArguments({"prog", "-locale"});
    environment.processArgument("7");
    EXPECT_EQ(environment.localeId(), "7");
    EXPECT_FALSE(environment.assignmentBlock());
}

TEST_F(KTRAppLaunchingEnvTest, ANegativePidIsAValue) {
    environment.parseArguments({"-pid", "-5"});
    EXPECT_EQ(environment.parentProcessId(), "-5");
    EXPECT_EQ(platform::integerReading(environment.parentProcessId()), -5);
}

TEST_F(KTRAppLaunchingEnvTest, WhatOnlyLooksLikeAnOptionIsAValue) {
    environment.parseArguments({"-pid", "-x", "-path", "", "-pname", "-Pid"});
    EXPECT_EQ(values(), (Texts{"-x", "-Pid", none, "", none}));
}

TEST_F(KTRAppLaunchingEnvTest, OptionNamesAreCaseSensitive) {
    environment.parseArguments({"-PID", "7"});
    EXPECT_EQ(values(), (Texts{none, none, none, none, none}));
}

TEST_F(KTRAppLaunchingEnvTest, OptionNamesAreComparedWhole) {
    environment.parseArguments({"-pi", "1", "-pids", "2", "pid", "3", " -pid", "4", "--pid", "5"});
    EXPECT_EQ(values(), (Texts{none, none, none, none, none}));
}

TEST_F(KTRAppLaunchingEnvTest, KeepsIntermediateFileYesIsStoredAsYesWhichReadsAsZero) {
    environment.parseArguments({"-keepsIntermediateFile", "yes"});
    EXPECT_EQ(environment.keepsIntermediateFile(), "yes");
    EXPECT_EQ(platform::integerReading(environment.keepsIntermediateFile()), 0);
}

TEST_F(KTRAppLaunchingEnvTest, AnArgumentThatFollowsACompletedPairIsIgnored) {
    environment.parseArguments({"prog", "-pid", "1", "extra", "-path", "/x", "-psn_0_1234", "more"});
    EXPECT_EQ(values(), (Texts{"1", none, none, "/x", none}));
}

TEST_F(KTRAppLaunchingEnvTest, TheAssignmentIsAPropertyOfItsOwn) {
    std::vector<std::string> taken;
    environment.setAssignmentBlock([&taken](const std::string& value) { taken.push_back(value); });
    environment.processArgument("first");
    environment.processArgument("second");
    EXPECT_EQ(taken, std::vector<std::string>{"first"});
    EXPECT_FALSE(environment.assignmentBlock());
}

TEST_F(KTRAppLaunchingEnvTest, TheAssignmentIsStillPendingWhileItRuns) {
    bool pendingInside = false;
    environment.setAssignmentBlock(
        [&](const std::string&) { pendingInside = static_cast<bool>(environment.assignmentBlock()); });
    environment.processArgument("value");
    EXPECT_TRUE(pendingInside);
    EXPECT_FALSE(environment.assignmentBlock());
}

}  // namespace
