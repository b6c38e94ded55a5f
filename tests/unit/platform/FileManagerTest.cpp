#include "platform/FileManager.h"

#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

class PosixFileManagerTest : public testing::Test {
protected:
    std::string at(const std::string& name) const { return temporary.file(name); }

    bool isDirectory(const std::string& name) const {
        bool answer = false;
        fileManager.fileExistsAtPath(at(name), &answer);
        return answer;
    }

    const test::TemporaryFolder temporary;
    const fs::path folder = temporary.path();
    platform::PosixFileManager fileManager;
};

TEST_F(PosixFileManagerTest, AFileExistsAndIsNoFolder) {
    std::ofstream(at("file")) << "x";
    EXPECT_TRUE(fileManager.fileExistsAtPath(at("file"), nullptr));
    EXPECT_FALSE(isDirectory("file"));
}

TEST_F(PosixFileManagerTest, AFolderExistsAndIsOne) {
    fs::create_directory(at("folder"));
    EXPECT_TRUE(fileManager.fileExistsAtPath(at("folder"), nullptr));
    EXPECT_TRUE(isDirectory("folder"));
}

TEST_F(PosixFileManagerTest, NothingDoesNotExistAndIsNoFolder) {
    bool answer = true;
    EXPECT_FALSE(fileManager.fileExistsAtPath(at("nothing"), &answer));
    EXPECT_FALSE(answer);
    EXPECT_FALSE(fileManager.fileExistsAtPath("", nullptr));
    EXPECT_FALSE(fileManager.fileExistsAtPath(at("nothing/below"), nullptr));
}

TEST_F(PosixFileManagerTest, ADanglingLinkOccupiesItsName) {
    fs::create_symlink("nowhere", at("link"));
    EXPECT_TRUE(fileManager.fileExistsAtPath(at("link"), nullptr));
    EXPECT_FALSE(isDirectory("link"));
}

TEST_F(PosixFileManagerTest, ALinkToAFolderIsAFolder) {
    fs::create_directory(at("folder"));
    fs::create_symlink("folder", at("link"));
    EXPECT_TRUE(isDirectory("link"));
}

TEST_F(PosixFileManagerTest, APipeExistsAndIsNotOpened) {
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    EXPECT_TRUE(fileManager.fileExistsAtPath(at("pipe"), nullptr));
    EXPECT_FALSE(isDirectory("pipe"));
}

TEST_F(PosixFileManagerTest, NamesAreBytes) {
    const std::string odd = "\xFF\xFE new\nline '\"";
    std::ofstream(at(odd)) << "x";
    EXPECT_TRUE(fileManager.fileExistsAtPath(at(odd), nullptr));
    EXPECT_EQ(fileManager.removeItemAtPath(at(odd)), std::nullopt);
    EXPECT_FALSE(fileManager.fileExistsAtPath(at(odd), nullptr));
}

TEST_F(PosixFileManagerTest, RemovingAFileLeavesNothing) {
    std::ofstream(at("file")) << "x";
    EXPECT_EQ(fileManager.removeItemAtPath(at("file")), std::nullopt);
    EXPECT_FALSE(fs::exists(at("file")));
}

TEST_F(PosixFileManagerTest, RemovingALinkLeavesItsTarget) {
    std::ofstream(at("file")) << "x";
    fs::create_symlink("file", at("link"));
    EXPECT_EQ(fileManager.removeItemAtPath(at("link")), std::nullopt);
    EXPECT_TRUE(fs::exists(at("file")));
}

TEST_F(PosixFileManagerTest, AFailedRemovalIsDescribedWithItsPathAndTheSystemsReason) {
    const auto description = fileManager.removeItemAtPath(at("nothing"));
    ASSERT_TRUE(description);
    EXPECT_NE(description->find(at("nothing")), std::string::npos);
    EXPECT_NE(description->find("No such file or directory"), std::string::npos);
}

TEST_F(PosixFileManagerTest, AFolderIsNotRemoved) {
    fs::create_directory(at("folder"));
    EXPECT_TRUE(fileManager.removeItemAtPath(at("folder")));
    EXPECT_TRUE(fs::exists(at("folder")));
}

}  // namespace
