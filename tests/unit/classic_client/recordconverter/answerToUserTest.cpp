#include "answerToUser.h"

#include <gtest/gtest.h>

namespace {

TEST(AnswerToUserTest, HelpNamesEveryOption) {
    const auto help = answerToUser({"record-converter", "--help"}, "1.2.3");
    ASSERT_TRUE(help);
    for (const char* const option : {"-pid", "-pname", "-locale", "-path", "-keepsIntermediateFile", "--version"}) {
        EXPECT_NE(help->find(option), std::string::npos) << option;
    }
}

TEST(AnswerToUserTest, VersionIsNameAndNumber) {
    EXPECT_EQ(answerToUser({"record-converter", "--version"}, "1.2.3"), "record-converter 1.2.3\n");
}

TEST(AnswerToUserTest, EveryOtherLaunchIsTheConvertersOwn) {
    EXPECT_FALSE(answerToUser({}, "1"));
    EXPECT_FALSE(answerToUser({"record-converter"}, "1"));
    EXPECT_FALSE(answerToUser({"--help"}, "1"));
    EXPECT_FALSE(answerToUser({"record-converter", "-help"}, "1"));
    EXPECT_FALSE(answerToUser({"record-converter", "--Help"}, "1"));
    EXPECT_FALSE(answerToUser({"record-converter", "-path", "--help"}, "1"));
    EXPECT_FALSE(answerToUser({"record-converter", "--help", "-path"}, "1"));
    EXPECT_FALSE(answerToUser({"record-converter", "-pid", "4711", "--version"}, "1"));
}

}  // namespace
