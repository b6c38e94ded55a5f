#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace worker {

class SourceReader;

/// The recording's bytes for a scanner. It borrows what the media library is reading anyway, so that a scan that
/// follows the library reads nothing itself; it reads only what lies elsewhere.
class SourceView {
public:
    /// `reader` must outlive it.
    explicit SourceView(const SourceReader& reader) : reader_(reader) {}

    std::int64_t size() const;

    /// Lends the bytes at `position` until withdraw().
    void lend(std::int64_t position, std::span<const std::uint8_t> bytes);
    void withdraw() { lent_ = {}; }

    /// The `length` bytes at `position`, or those up to the end of the file. Valid until the next call. `length` is at
    /// most `mostBytes`.
    std::span<const std::uint8_t> at(std::int64_t position, std::size_t length);

    /// Position of the first byte other than 0, from `position` on; the file's size if there is none.
    std::int64_t firstNonZero(std::int64_t position);

    /// Where the zeros start that fill the rest of the file; the file's size if its last byte is not 0.
    std::int64_t endBeforeZeros();

    static constexpr std::size_t mostBytes = std::size_t{16} << 20U;

private:
    std::span<const std::uint8_t> readAt(std::int64_t position, std::size_t length);

    const SourceReader& reader_;
    std::int64_t lentPosition_ = 0;
    std::span<const std::uint8_t> lent_;
    std::int64_t bufferPosition_ = 0;
    std::vector<std::uint8_t> buffer_;
};

}  // namespace worker
