#include "recordkeeping/MadeFolders.h"

#include "support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

using recordkeeping::MadeFolders;

class MadeFoldersTest : public testing::Test {
protected:
    const test::TemporaryFolder temporary;
    const std::string home = temporary.path();
    MadeFolders folders;
};

TEST_F(MadeFoldersTest, MakesWhatIsMissingForThisUserAlone) {
    folders.make(home + "/one/two");
    for (const auto* const path : {"/one", "/one/two"}) {
        ASSERT_TRUE(std::filesystem::is_directory(home + path)) << path;
        EXPECT_EQ(std::filesystem::status(home + path).permissions(), std::filesystem::perms::owner_all) << path;
    }
}

TEST_F(MadeFoldersTest, LeavesWhatIsThereAsItIs) {
    std::filesystem::permissions(home, std::filesystem::perms::owner_all | std::filesystem::perms::group_read);
    folders.make(home);
    EXPECT_NE(std::filesystem::status(home).permissions(), std::filesystem::perms::owner_all);
}

TEST_F(MadeFoldersTest, SyncsAlsoWhereAFolderHasGone) {
    folders.make(home + "/one/two");
    std::filesystem::remove_all(home + "/one");
    folders.sync();
    folders.make(home + "/one/two");
    folders.sync();
    EXPECT_TRUE(std::filesystem::is_directory(home + "/one/two"));
}

}  // namespace
