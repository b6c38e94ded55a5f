#include "platform/PathOperations.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

struct Case {
    std::string path;
    std::string last;
    std::string folder;
    std::string extension;
    std::string withoutExtension;
};

class PathOperationsTest : public testing::TestWithParam<Case> {};

TEST_P(PathOperationsTest, TakesThePathApart) {
    const auto& expected = GetParam();
    EXPECT_EQ(platform::lastPathComponent(expected.path), expected.last) << expected.path;
    EXPECT_EQ(platform::deletingLastPathComponent(expected.path), expected.folder) << expected.path;
    EXPECT_EQ(platform::pathExtension(expected.path), expected.extension) << expected.path;
    EXPECT_EQ(platform::deletingPathExtension(expected.path), expected.withoutExtension) << expected.path;
}

INSTANTIATE_TEST_SUITE_P(
    Paths, PathOperationsTest,
    testing::Values(Case{"/a/b/rec.tmp", "rec.tmp", "/a/b", "tmp", "/a/b/rec"},
                    Case{"/rec.tmp", "rec.tmp", "/", "tmp", "/rec"}, Case{"rec.tmp", "rec.tmp", "", "tmp", "rec"},
                    Case{"/a/b/", "b", "/a", "", "/a/b"}, Case{"/a/b.c/", "b.c", "/a", "c", "/a/b"},
                    Case{"/a/b///", "b", "/a", "", "/a/b"}, Case{"/a//b", "b", "/a", "", "/a//b"},
                    Case{"/", "/", "/", "", "/"}, Case{"//", "/", "/", "", "/"}, Case{"", "", "", "", ""},
                    Case{"/a/.hidden", ".hidden", "/a", "", "/a/.hidden"},
                    Case{"/a/.hidden.tmp", ".hidden.tmp", "/a", "tmp", "/a/.hidden"},
                    Case{"/a/b.", "b.", "/a", "", "/a/b"}, Case{"/a/b..c", "b..c", "/a", "c", "/a/b."},
                    Case{"/a.b/c", "c", "/a.b", "", "/a.b/c"}, Case{"a/b", "b", "a", "", "a/b"},
                    Case{"/a/b.c.d", "b.c.d", "/a", "d", "/a/b.c"}, Case{"/a/..", "..", "/a", "", "/a/."},
                    Case{"/\xFF\xFE.x\n", "\xFF\xFE.x\n", "/", "x\n", "/\xFF\xFE"}));

TEST(AppendingPathComponentTest, JoinsByExactlyOneSlash) {
    EXPECT_EQ(platform::appendingPathComponent("/a", "b"), "/a/b");
    EXPECT_EQ(platform::appendingPathComponent("/a/", "b"), "/a/b");
    EXPECT_EQ(platform::appendingPathComponent("/", "b"), "/b");
    EXPECT_EQ(platform::appendingPathComponent("", "b"), "b");
}

}  // namespace
