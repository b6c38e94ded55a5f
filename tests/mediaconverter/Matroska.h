#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mediatest {

/// Writes Matroska recordings that no encoder makes: huge, endless, absurd. The tracks are those of a recording that
/// the ffmpeg program has made; the packets are the test's.
class Matroska {
public:
    /// Begins `path` with everything of `sample` up to its first packet. `sample` must have been made with "-live 1",
    /// which leaves the length of the whole open.
    Matroska(const std::string& path, const std::string& sample);
    ~Matroska();

    Matroska(const Matroska&) = delete;
    Matroska& operator=(const Matroska&) = delete;

    /// A new cluster; `milliseconds` is its time.
    void cluster(std::uint64_t milliseconds);

    /// A packet of `track` (from 1), `offset` milliseconds after its cluster.
    void packet(int track, int offset, const std::string& payload);

    /// The same, with `length` bytes of payload that are `head` and then zeros, which take no room on the disk.
    void sparsePacket(int track, int offset, const std::string& head, std::uint64_t length);

private:
    void write(const std::string& bytes);
    void blockHeader(int track, int offset, std::uint64_t length);

    int descriptor_;
    std::string pending_;
};

}  // namespace mediatest
