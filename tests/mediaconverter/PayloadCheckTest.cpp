#include "mediaconverter/worker/accounting/PayloadCheck.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

// Content that an intact packet cannot have.

namespace {

using Packet = std::vector<std::uint8_t>;

class PayloadCheckTest : public testing::Test {
protected:
    /// The number of damaged packets reported for `count` of these among a hundred packets, of which the others contain
    /// no zero.
    std::int64_t damagedOf(AVCodecID codec, const Packet& packet, int count = 1) {
        stream_->codecpar->codec_id = codec;
        worker::PayloadCheck check(*stream_);
        for (int index = 0; index < 100; ++index) {
            check.add(index >= 50 && index < 50 + count ? packet : healthy_, index);
        }
        return check.damaged();
    }

    static Packet withZeros(std::size_t at, std::size_t count) {
        Packet packet(2000, 0x5A);
        std::fill_n(packet.begin() + static_cast<std::ptrdiff_t>(at), count, std::uint8_t{0});
        return packet;
    }

    const std::unique_ptr<AVFormatContext, void (*)(AVFormatContext*)> context_{avformat_alloc_context(),
                                                                                avformat_free_context};
    AVStream* const stream_ = avformat_new_stream(context_.get(), nullptr);
    Packet healthy_ = Packet(2000, 0x5A);
};

TEST_F(PayloadCheckTest, AHoleIsDamageWhereverItIs) {
    for (const std::size_t at : {0U, 1U, 127U, 128U, 777U, 1744U}) {
        EXPECT_EQ(damagedOf(AV_CODEC_ID_H264, withZeros(at, 256)), 1) << at;
    }
    EXPECT_EQ(damagedOf(AV_CODEC_ID_H264, withZeros(777, 255)), 0);
    EXPECT_EQ(damagedOf(AV_CODEC_ID_MJPEG, withZeros(777, 256)), 0) << "its codes may be zeros";
}

TEST_F(PayloadCheckTest, APacketOfZerosIsDamageInACodecThatHasNone) {
    EXPECT_EQ(damagedOf(AV_CODEC_ID_OPUS, Packet(16, 0)), 1);
    EXPECT_EQ(damagedOf(AV_CODEC_ID_OPUS, Packet(15, 0)), 0) << "may be silence";
    EXPECT_EQ(damagedOf(AV_CODEC_ID_PCM_S16LE, Packet(2000, 0)), 0);
}

TEST_F(PayloadCheckTest, WhatMostPacketsHaveIsTheWritersManner) {
    EXPECT_EQ(damagedOf(AV_CODEC_ID_H264, withZeros(777, 256), 49), 49);
    EXPECT_EQ(damagedOf(AV_CODEC_ID_H264, withZeros(777, 256), 50), 0);
}

TEST_F(PayloadCheckTest, UnitsThatDoNotFillTheirPacketAreDamage) {
    // A configuration record that states a length of four bytes (ISO/IEC 14496-15, 5.3.3.1).
    const Packet record = {1, 66, 0, 30, 0xFF, 0xE0, 0};
    stream_->codecpar->extradata = static_cast<std::uint8_t*>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(record.begin(), record.end(), stream_->codecpar->extradata);
    stream_->codecpar->extradata_size = static_cast<int>(record.size());
    healthy_ = {0, 0, 0, 3, 0x65, 1, 2, 0, 0, 0, 1, 0x41};
    EXPECT_EQ(damagedOf(AV_CODEC_ID_H264, healthy_), 0);
    for (const auto& [at, value] : {std::pair{3U, 4}, std::pair{3U, 9}, std::pair{10U, 2}, std::pair{4U, 0xE5}}) {
        Packet packet = healthy_;
        packet[at] = static_cast<std::uint8_t>(value);
        EXPECT_EQ(damagedOf(AV_CODEC_ID_H264, packet), 1) << at;
    }
}

}  // namespace
