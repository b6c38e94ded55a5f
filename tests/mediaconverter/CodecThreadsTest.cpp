#include "mediaconverter/worker/tracks/CodecThreads.h"

#include <gtest/gtest.h>

// The number of threads for the codecs.

namespace {

using worker::codecThreadsFor;

constexpr std::int64_t standard = 640 * 480;
constexpr std::int64_t fourK = 3840 * 2160;
constexpr std::int64_t most = std::int64_t{8192} * 8192;

TEST(CodecThreadsTest, FollowTheProcessorsUpToABound) {
    EXPECT_EQ(codecThreadsFor(standard, 1, 1).decoder, 1);
    EXPECT_EQ(codecThreadsFor(standard, 4, 1).encoder, 6);
    EXPECT_EQ(codecThreadsFor(standard, 64, 1).decoder, 16);
    EXPECT_EQ(codecThreadsFor(standard, 64, 1).encoder, 16);
}

TEST(CodecThreadsTest, AreSharedByTheTracks) {
    EXPECT_EQ(codecThreadsFor(standard, 64, 4).decoder, 4);
    EXPECT_EQ(codecThreadsFor(standard, 64, 4).encoder, 4);
    EXPECT_EQ(codecThreadsFor(standard, 64, 100).encoder, 1);
}

TEST(CodecThreadsTest, AreFewerWhereThePicturesAreLarge) {
    EXPECT_LT(codecThreadsFor(fourK, 64, 1).encoder, 16);
    EXPECT_GE(codecThreadsFor(fourK, 64, 1).encoder, 2);
    EXPECT_LT(codecThreadsFor(fourK, 64, 2).encoder, codecThreadsFor(fourK, 64, 1).encoder);
    EXPECT_EQ(codecThreadsFor(most, 64, 1).encoder, 1);
}

}  // namespace
