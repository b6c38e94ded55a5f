#include "platform/FileURL.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using platform::FileURL;

std::string url(const std::string& path, bool isDirectory = false) {
    return FileURL::fileURLWithPath(path, isDirectory).absoluteString();
}

TEST(FileURLTest, PlainBytesStandForThemselves) {
    EXPECT_EQ(url("/home/u/Movies/rec-1_2.~A9.mp4"), "file:///home/u/Movies/rec-1_2.~A9.mp4");
}

TEST(FileURLTest, EveryOtherByteIsPercentEncoded) {
    EXPECT_EQ(url("/a b"), "file:///a%20b");
    EXPECT_EQ(url("/100%"), "file:///100%25");
    EXPECT_EQ(url("/a?b#c&d=e+f"), "file:///a%3Fb%23c%26d%3De%2Bf");
    EXPECT_EQ(url("/talk(1).mp4"), "file:///talk%281%29.mp4");
    EXPECT_EQ(url("/\xC3\xBC"), "file:///%C3%BC");
    EXPECT_EQ(url("/\xFF\x01\n\""), "file:///%FF%01%0A%22");
    EXPECT_EQ(url("/a:b;c,d@e!$'*"), "file:///a%3Ab%3Bc%2Cd%40e%21%24%27%2A");
    EXPECT_EQ(url("/[x]\\^`{|}<>"), "file:///%5Bx%5D%5C%5E%60%7B%7C%7D%3C%3E");
}

TEST(FileURLTest, AFolderEndsInExactlyOneSlash) {
    EXPECT_EQ(url("/home/u", true), "file:///home/u/");
    EXPECT_EQ(url("/home/u/", true), "file:///home/u/");
    EXPECT_EQ(url("/", true), "file:///");
}

TEST(FileURLTest, TheParentOfAFileIsItsFolderMarkedAsOne) {
    const auto folder = FileURL::fileURLWithPath("/home/u/rec.mp4", false).deletingLastPathComponent();
    EXPECT_EQ(folder.path(), "/home/u");
    EXPECT_TRUE(folder.isDirectory());
    EXPECT_EQ(folder.item(), "/home/u/rec.mp4");
    EXPECT_EQ(FileURL::fileURLWithPath("/rec.mp4", false).deletingLastPathComponent().absoluteString(), "file:///");
}

TEST(FileURLTest, EqualityIsOfPathAndKind) {
    const auto file = FileURL::fileURLWithPath("/a", false);
    EXPECT_EQ(file, FileURL::fileURLWithPath("/a", false));
    EXPECT_FALSE(file == FileURL::fileURLWithPath("/b", false));
    EXPECT_FALSE(file == FileURL::fileURLWithPath("/a", true));
}

}  // namespace
