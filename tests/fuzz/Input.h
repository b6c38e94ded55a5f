#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

namespace fuzz {

/// Splits the fuzzer's input into values. When the bytes run out, everything is 0 and empty.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    bool isEmpty() const { return rest_.empty(); }

    std::uint8_t byte() {
        if (rest_.empty()) {
            return 0;
        }
        const auto first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }

    std::uint64_t number() {
        std::uint64_t value = 0;
        for (int i = 0; i < 8; ++i) {
            value = value << 8U | byte();
        }
        return value;
    }

    /// As many bytes as the next byte says.
    std::string text() {
        std::string text(byte(), '\0');
        for (auto& c : text) {
            c = static_cast<char>(byte());
        }
        return text;
    }

    /// As `text`, without NUL bytes: what a C string can hold.
    std::string cText() {
        auto whole = text();
        return whole.substr(0, whole.find('\0'));
    }

private:
    std::span<const std::uint8_t> rest_;
};

/// Ends the process, which is how a fuzzer detects a broken promise.
inline void require(bool holds, const char* promise) {
    if (!holds) {
        std::fprintf(stderr, "broken: %s\n", promise);
        std::abort();
    }
}

}  // namespace fuzz
