#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

struct XXH3_state_s;

namespace worker {

/// A digest of a sequence of numbers. Two sequences that differ in one number always have different digests.
class NumberDigest {
public:
    void add(std::int64_t number) {
        // Each step can be inverted, so no difference is lost.
        value_ = (value_ ^ static_cast<std::uint64_t>(number)) * multiplier;
        value_ ^= value_ >> 32U;
    }

    std::uint64_t value() const { return value_; }

private:
    /// Odd, and its bits are spread evenly: 2^64 divided by the golden ratio.
    static constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15;

    std::uint64_t value_ = 0;
};

/// A digest of a sequence of bytes (XXH3, 64 bits); it does not depend on how they are divided among the calls.
class ByteDigest {
public:
    ByteDigest();

    void add(std::span<const std::uint8_t> bytes);

    std::uint64_t value() const;

private:
    struct Deleter {
        void operator()(XXH3_state_s* state) const;
    };

    std::unique_ptr<XXH3_state_s, Deleter> state_;
};

/// Digests of what an MP4 holds of one track: of its packets in the order in which they are decoded.
class TrackDigest {
public:
    /// Adds the place of the next packet: its size in bytes as stored, and when it is decoded. Times count from the
    /// first packet's, because an MP4 states the track's start apart from them.
    void addPlace(std::int64_t size, std::int64_t decodingTime);

    /// How much later than it is decoded the next packet is shown.
    void addDelay(std::int64_t delay) { delays_.add(delay); }

    /// The next bytes of the payload.
    void addPayload(std::span<const std::uint8_t> bytes) { payload_.add(bytes); }

    std::int64_t bytes() const { return bytes_; }
    std::uint64_t places() const { return places_.value(); }
    std::uint64_t delays() const { return delays_.value(); }
    std::uint64_t payload() const { return payload_.value(); }

private:
    std::int64_t bytes_ = 0;
    std::optional<std::int64_t> first_;  ///< decoding time
    NumberDigest places_;
    NumberDigest delays_;
    ByteDigest payload_;
};

}  // namespace worker
