#pragma once

#include <cstddef>
#include <random>
#include <string>

namespace mediafuzz {

using Bytes = std::string;

/// Damages recordings at random: the same seed gives the same damage.
class Mutator {
public:
    explicit Mutator(unsigned seed) : random_(seed) {}

    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }

    /// The recording with up to six pieces cut, flipped, repeated, filled, or replaced by some of `other`.
    Bytes mutated(Bytes bytes, const Bytes& other);

private:
    void mutate(Bytes& bytes, const Bytes& other);

    std::mt19937 random_;
};

}  // namespace mediafuzz
