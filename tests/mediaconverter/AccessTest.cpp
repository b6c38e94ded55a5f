#include "mediaconverter/FaultTest.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

// Exactly those who may read the recording may read the MP4.

namespace {

using namespace mediatest;
namespace fs = std::filesystem;

constexpr const char* accessList = "system.posix_acl_access";
constexpr const char* defaultList = "system.posix_acl_default";
constexpr uid_t nobody = 65534;
constexpr gid_t foreignGroup = 12345;

std::optional<std::string> attributeOf(const std::string& path, const char* name) {
    std::array<char, 1000> value{};
    const ssize_t length = ::getxattr(path.c_str(), name, value.data(), value.size());
    return length < 0 ? std::nullopt : std::optional(std::string(value.data(), static_cast<std::size_t>(length)));
}

struct Entry {
    char tag;  ///< 1 the owner, 2 a user, 4 the group, 16 the mask, 32 others
    char rights;
    std::uint32_t id = 0xFFFFFFFF;
};

std::string listOf(const std::vector<Entry>& entries) {
    std::string list("\2\0\0\0", 4);
    for (const Entry& entry : entries) {
        list += std::string{entry.tag, '\0', entry.rights, '\0'};
        list += std::string(reinterpret_cast<const char*>(&entry.id), sizeof entry.id);
    }
    return list;
}

/// A user may read; the owner's group may not, although the mode suggests that it could.
const std::string userMayReadGroupMayNot = listOf({{1, 6}, {2, 4, 4711}, {4, 0}, {16, 4}, {32, 0}});

class AccessTest : public FaultTest {
protected:
    AccessTest() : source_(put("a.mkv", contentOf(samples::matroska()))) {
        EXPECT_EQ(::chmod(folder_.path().c_str(), 0777), 0);
    }

    void setAttribute(const std::string& path, const char* name, const std::string& value) {
        ASSERT_EQ(::setxattr(path.c_str(), name, value.data(), value.size(), 0), 0) << name;
    }

    static struct stat statusOf(const std::string& path) {
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status;
    }

    /// Converts as a user who may give files only to his own group. He may search every folder, because the build may
    /// be in one of root's.
    ProcessResult convertAsNobody(const std::vector<std::string>& environment = {}) {
        return convertInProcess(source_, destination(), environment,
                                {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                 "--inh-caps=+dac_read_search", "--ambient-caps=+dac_read_search"});
    }

    std::string source_;
};

TEST_F(AccessTest, AnAccessListComesAlong) {
    setAttribute(source_, accessList, userMayReadGroupMayNot);
    expectSuccess(source_);
    EXPECT_EQ(attributeOf(destination(), accessList), userMayReadGroupMayNot);
    EXPECT_EQ(statusOf(destination()).st_mode & 0777U, 0640U);
}

TEST_F(AccessTest, AnAccessListLetsNobodyExecuteAndTheOwnerWrite) {
    setAttribute(source_, accessList, listOf({{1, 5}, {2, 7, 4711}, {4, 5}, {16, 7}, {32, 1}}));
    expectSuccess(source_);
    EXPECT_EQ(attributeOf(destination(), accessList), listOf({{1, 6}, {2, 6, 4711}, {4, 4}, {16, 6}, {32, 0}}));
}

TEST_F(AccessTest, WhatTheFolderHandsDownAddsNoReader) {
    for (const mode_t mode : {0600U, 0640U}) {
        ASSERT_EQ(::chmod(source_.c_str(), mode), 0);
        setAttribute(folder_.path(), defaultList, listOf({{1, 7}, {2, 7, 4711}, {4, 7}, {16, 7}, {32, 5}}));
        fs::remove(destination());
        expectSuccess(source_);
        EXPECT_EQ(attributeOf(destination(), accessList), std::nullopt);
        EXPECT_EQ(statusOf(destination()).st_mode & 0777U, mode);
    }
}

TEST_F(AccessTest, TheUsersOwnAttributesComeAlong) {
    setAttribute(source_, "user.comment", "a talk");
    setAttribute(source_, "user.empty", "");
    setAttribute(source_, "user.mime_type", "video/x-matroska");
    expectSuccess(source_);
    EXPECT_EQ(attributeOf(destination(), "user.comment"), "a talk");
    EXPECT_EQ(attributeOf(destination(), "user.empty"), "");
    EXPECT_EQ(attributeOf(destination(), "user.mime_type"), std::nullopt) << "it is of another type";
}

class ForeignGroupTest : public AccessTest {
protected:
    void SetUp() override {
        if (::getuid() != 0) {
            GTEST_SKIP() << "needs to give files away";
        }
    }
};

TEST_F(ForeignGroupTest, WhereTheGroupCanNotBeHadNobodyGainsByIt) {
    for (const auto& [mode, expected] : {std::pair(0600U, 0600U), std::pair(0640U, 0600U), std::pair(0660U, 0600U),
                                         std::pair(0644U, 0644U), std::pair(0664U, 0644U), std::pair(0604U, 0600U)}) {
        ASSERT_EQ(::chown(source_.c_str(), nobody, foreignGroup), 0);
        ASSERT_EQ(::chmod(source_.c_str(), mode), 0);
        fs::remove(destination());
        const auto result = convertAsNobody();
        EXPECT_TRUE(result.saidHundred()) << result.output;
        EXPECT_EQ(statusOf(destination()).st_mode & 0777U, expected) << std::oct << mode;
        EXPECT_EQ(statusOf(destination()).st_gid, nobody);
    }
}

TEST_F(ForeignGroupTest, AnAccessListForAnotherGroupBecomesNone) {
    ASSERT_EQ(::chown(source_.c_str(), nobody, foreignGroup), 0);
    setAttribute(source_, accessList, listOf({{1, 6}, {2, 4, 4711}, {4, 4}, {16, 4}, {32, 4}}));
    const auto result = convertAsNobody();
    EXPECT_TRUE(result.saidHundred()) << result.output;
    EXPECT_EQ(statusOf(destination()).st_mode & 0777U, 0600U);
    EXPECT_EQ(attributeOf(destination(), accessList), std::nullopt);
}

TEST_F(ForeignGroupTest, WhoMayGiveFilesAwayGivesTheMp4ToTheRecordingsOwner) {
    ASSERT_EQ(::chown(source_.c_str(), nobody, foreignGroup), 0);
    ASSERT_EQ(::chmod(source_.c_str(), 0640), 0);
    expectSuccess(source_);
    const struct stat status = statusOf(destination());
    EXPECT_EQ(status.st_uid, nobody);
    EXPECT_EQ(status.st_gid, foreignGroup);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

#ifdef MEDIACONVERTER_FAULTS  // which simulates a file system without unnamed files
TEST_F(ForeignGroupTest, WithoutUnnamedFilesItIsTheSame) {
    ASSERT_EQ(::chown(source_.c_str(), nobody, foreignGroup), 0);
    ASSERT_EQ(::chmod(source_.c_str(), 0660), 0);
    const auto result = convertAsNobody({"LD_PRELOAD=" MEDIACONVERTER_FAULTS, "NO_UNNAMED_FILES=1"});
    EXPECT_TRUE(result.saidHundred()) << result.output;
    EXPECT_EQ(statusOf(destination()).st_mode & 0777U, 0600U);
}
#endif

/// Names of 255 bytes, the longest possible.
class LongNameTest : public FaultTest {
protected:
    static std::string repeated(const std::string& text, std::size_t times) {
        std::string result;
        for (; times > 0; --times) {
            result += text;
        }
        return result;
    }

    /// Converts the file `name` to the destination `target` and expects the MP4 at `got`.
    void expectConverted(const std::string& name, const std::string& target, const std::string& got) {
        const std::string source = put(name, contentOf(samples::matroska()));
        RecordingSink sink;
        convert(source, folder_.file(target), sink);
        EXPECT_TRUE(sink.isSuccess());
        EXPECT_TRUE(fs::exists(folder_.file(got))) << got;
        fs::remove(folder_.file(got));
        fs::remove(source);
        EXPECT_TRUE(folder_.names().empty());
    }
};

TEST_F(LongNameTest, AreCutWhereTheExtensionGrows) {
    const std::string stem(252, 'n');
    expectConverted(stem + ".ts", stem + ".mp4", std::string(251, 'n') + ".mp4");
    expectConverted(std::string(255, 'n'), std::string(255, 'n') + ".mp4", std::string(251, 'n') + ".mp4");
}

TEST_F(LongNameTest, KeepTheirNumber) {
    const std::string stem(251, 'n');
    expectConverted(stem + ".mkv", stem + "(12).mp4", std::string(247, 'n') + "(12).mp4");
    expectConverted(stem + ".mkv", stem + "().mp4", stem + ".mp4");
}

TEST_F(LongNameTest, AreNeverCutWithinACharacter) {
    const std::string stem = repeated("\xE2\x82\xAC", 84);  // 252 bytes
    expectConverted(stem + ".ts", stem + ".mp4", repeated("\xE2\x82\xAC", 83) + ".mp4");
    const std::string bytes(252, '\x80');  // no valid characters
    expectConverted(bytes + ".ts", bytes + ".mp4", std::string(251, '\x80') + ".mp4");
}

TEST_F(LongNameTest, ADamagedRecordingGetsItsSecondNameAsWell) {
    std::string bytes = contentOf(samples::make("mkv", {"-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac"}, 20));
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.size() / 8, '\0');
    // The ten bytes of " (damaged)" replace ten letters, or the last letter and five characters of two bytes.
    for (const auto& [stem, second] :
         {std::pair(std::string(251, 'n'), std::string(241, 'n') + " (damaged).mkv"),
          std::pair(repeated("\xC3\xA4", 125) + "n", repeated("\xC3\xA4", 120) + " (damaged).mkv")}) {
        const std::string source = put(stem + ".mkv", bytes);
        expectSuccess(source, {second});
        fs::remove(destination());
        expectSuccess(source);
        EXPECT_EQ(folder_.names().size(), 3U) << "the second name exists already";
        for (const std::string& name : folder_.names()) {
            fs::remove(folder_.file(name));
        }
    }
}

}  // namespace
