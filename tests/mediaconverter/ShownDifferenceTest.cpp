#include "mediaconverter/worker/proof/ShownDifference.h"

#include "mediaconverter/worker/AvPointers.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

// What the verification accepts as equal: a difference of up to one frame and no more.

namespace {

using worker::Likeness;
using worker::ShownTimes;

constexpr std::int64_t frame = 40'000;  // microseconds
constexpr int frames = 50;
constexpr std::int64_t nearly = 39'000;
constexpr std::int64_t beyond = 41'000;

class ShownDifferenceTest : public testing::Test {
protected:
    ShownDifferenceTest() {
        stream_->time_base = {1, AV_TIME_BASE};
        stream_->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        for (int index = 0; index < frames; ++index) {
            const worker::PacketPointer packet = worker::newPacket();
            packet->pts = packet->dts = index * frame;
            packet->duration = frame;
            source_.add(*packet);
            same_.add(index * frame, frame);
        }
        source_.addDecodedAudio(0, frames * static_cast<int>(frame), AV_TIME_BASE);
    }

    void decodeMore(std::int64_t time) {
        source_.addDecodedAudio(AV_NOPTS_VALUE, static_cast<int>(time), AV_TIME_BASE);
    }

    bool isSame(const ShownTimes& found, Likeness likeness = Likeness::sameNumber) const {
        return findShownDifference(source_, found, likeness).empty();
    }

    /// All times, later by this amount.
    ShownTimes later(std::int64_t time) const {
        ShownTimes shown;
        for (const std::int64_t start : same_.starts) {
            shown.add(start + time, frame);
        }
        return shown;
    }

    const std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> context_{avformat_alloc_context(),
                                                                                avformat_free_context};
    AVStream* const stream_ = avformat_new_stream(context_.get(), nullptr);
    worker::SourceTimes source_{*stream_};
    ShownTimes same_;
};

TEST_F(ShownDifferenceTest, TheSameIsNoDifference) {
    EXPECT_TRUE(isSame(same_));
}

TEST_F(ShownDifferenceTest, AFrameLaterOrEarlierIsTheMost) {
    for (const auto likeness : {Likeness::sameNumber, Likeness::fewer, Likeness::otherFrames}) {
        for (const int sign : {1, -1}) {
            EXPECT_TRUE(isSame(later(sign * nearly), likeness));
            EXPECT_FALSE(isSame(later(sign * beyond), likeness));
        }
    }
}

TEST_F(ShownDifferenceTest, TheFirstTimeAloneCounts) {
    ShownTimes shown = same_;
    shown.starts.front() = -beyond;
    for (const auto likeness : {Likeness::sameNumber, Likeness::fewer, Likeness::otherFrames}) {
        EXPECT_FALSE(isSame(shown, likeness));
    }
}

TEST_F(ShownDifferenceTest, TheEndAloneCounts) {
    for (const auto likeness : {Likeness::sameNumber, Likeness::fewer, Likeness::otherFrames}) {
        for (const std::int64_t change : {beyond, -beyond}) {
            ShownTimes shown = same_;
            shown.end += change;
            EXPECT_FALSE(isSame(shown, likeness));
        }
    }
}

TEST_F(ShownDifferenceTest, TheNumberCountsWherePacketsStandForEachOther) {
    ShownTimes shown = same_;
    shown.starts.erase(shown.starts.begin() + frames / 2);
    EXPECT_FALSE(isSame(shown));
    EXPECT_TRUE(isSame(shown, Likeness::fewer));
}

TEST_F(ShownDifferenceTest, EachTimeCountsWherePacketsStandForEachOther) {
    ShownTimes shown = same_;
    std::for_each(shown.starts.begin() + 20, shown.starts.begin() + 30, [](std::int64_t& start) { start += beyond; });
    EXPECT_FALSE(isSame(shown));
    EXPECT_TRUE(isSame(shown, Likeness::fewer));
}

class DecodedAudioTest : public ShownDifferenceTest {};

TEST_F(DecodedAudioTest, MayEndLaterThanItsPacketsAsFarAsItsDecoderWent) {
    ShownTimes shown = same_;
    shown.end += 2 * frame;
    EXPECT_FALSE(isSame(shown, Likeness::otherFrames));
    decodeMore(2 * frame);
    EXPECT_TRUE(isSame(shown, Likeness::otherFrames));
    EXPECT_FALSE(isSame(same_, Likeness::otherFrames));
}

TEST_F(DecodedAudioTest, MayBeginEarlierByWhatItsEncoderPutsBeforeIt) {
    ShownTimes shown = same_;
    shown.starts.front() = -2 * frame;
    EXPECT_EQ(findShownDifference(source_, shown, Likeness::otherFrames, 2 * frame), "");
    EXPECT_NE(findShownDifference(source_, shown, Likeness::otherFrames, frame / 2), "");
}

TEST_F(DecodedAudioTest, FarFromItsPacketsIsADifferenceWhateverItsDecoderDid) {
    decodeMore(4 * frame);
    ShownTimes shown = same_;
    shown.end += 4 * frame;
    EXPECT_FALSE(isSame(shown, Likeness::otherFrames));
}

TEST_F(ShownDifferenceTest, NothingIsOnlyLikeNothing) {
    EXPECT_FALSE(isSame(ShownTimes()));
}

TEST_F(ShownDifferenceTest, TheOrderDoesNotCount) {
    ShownTimes shown = same_;
    std::swap(shown.starts[3], shown.starts[7]);
    EXPECT_TRUE(isSame(shown));
}

}  // namespace
