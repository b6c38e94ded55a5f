#include "mediaconverter/IZedMediaConverterDestination.h"
#include "mediaconverter/providers/ConvertedFileManager.h"
#include "mediaconverter/providers/ConvertedWorkspace.h"
#include "platform/Workspace.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <optional>

// What the application's platform owes to the media converter, here without the library behind it.

namespace {

using test::TemporaryFolder;
using test::writeFile;
namespace fs = std::filesystem;

TEST(ConvertedFileManagerTest, WhereTheLibraryCanNotTellTheFileAtThePathGoes) {
    const TemporaryFolder folder;
    writeFile(folder.file("talk.mkv"), "x");
    EXPECT_EQ(mediaconverter::ConvertedFileManager().removeItemAtPath(folder.file("talk.mkv")), std::nullopt);
    EXPECT_TRUE(folder.names().empty());
}

TEST(ConvertedFileManagerTest, AnMp4WhoseNameWasCutIsFoundUnderTheNameThatItWasToHave) {
    const TemporaryFolder folder;
    const mediaconverter::ConvertedFileManager files;
    const std::string wanted = folder.file(std::string(255, 'n') + ".mp4");
    EXPECT_FALSE(files.fileExistsAtPath(wanted, nullptr));
    writeFile(folder.file(std::string(251, 'n') + ".mp4"), "x");
    EXPECT_TRUE(files.fileExistsAtPath(wanted, nullptr));
    EXPECT_FALSE(files.fileExistsAtPath(folder.file(std::string(255, 'n') + "(1).mp4"), nullptr));
}

/// Keeps what it was asked to open.
class RecordingWorkspace final : public platform::Workspace {
public:
    bool openURL(const platform::FileURL& url) override {
        opened = url;
        return true;
    }

    std::optional<platform::FileURL> opened;
};

TEST(ConvertedWorkspaceTest, OpensTheMp4UnderTheNameThatItHasGot) {
    using platform::FileURL;
    RecordingWorkspace behind;
    mediaconverter::ConvertedWorkspace workspace(behind);
    EXPECT_TRUE(workspace.openURL(FileURL::fileURLWithPath("/a/" + std::string(252, 'n') + ".mp4", false)));
    EXPECT_EQ(behind.opened, FileURL::fileURLWithPath("/a/" + std::string(251, 'n') + ".mp4", false));
    workspace.openURL(FileURL::fileURLWithPath("/a/b", true));
    EXPECT_EQ(behind.opened, FileURL::fileURLWithPath("/a/b", true));
    workspace.openURL(
        FileURL::fileURLWithPath("/a/" + std::string(252, 'n') + ".mp4", false).deletingLastPathComponent());
    ASSERT_TRUE(behind.opened);
    EXPECT_EQ(behind.opened->path(), "/a");
    EXPECT_EQ(behind.opened->item(), "/a/" + std::string(251, 'n') + ".mp4");
}

TEST(FittingDestinationTest, LeavesWhatFitsAndWhatIsNoMp4AsItIs) {
    for (const std::string& path : {std::string("/a/talk.mp4"), "/a/" + std::string(251, 'n') + ".mp4",
                                    "/a/" + std::string(300, 'n') + ".mov", std::string(300, 'd') + "/talk.mp4"}) {
        EXPECT_EQ(FittingDestination(path), path);
    }
}

}  // namespace
