#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mediatest {

/// Writes Matroska recordings that no encoder produces: huge, endless, absurd. The tracks are those of a recording by
/// the ffmpeg program; the test supplies the packets.
class Matroska {
public:
    /// Starts `path` with everything of `sample` up to its first packet. `sample` must have been made with "-live 1",
    /// which leaves the total length open.
    Matroska(const std::string& path, const std::string& sample);
    ~Matroska();

    Matroska(const Matroska&) = delete;
    Matroska& operator=(const Matroska&) = delete;

    /// Starts a new cluster; `milliseconds` is its time.
    void cluster(std::uint64_t milliseconds);

    /// A packet of `track` (from 1), `offset` milliseconds after its cluster.
    void packet(int track, int offset, const std::string& payload);

    /// The same, with `length` bytes of payload that are `head` followed by zeros, which take no room on the disk.
    void sparsePacket(int track, int offset, const std::string& head, std::uint64_t length);

private:
    void write(const std::string& bytes);
    void blockHeader(int track, int offset, std::uint64_t length);

    int descriptor_;
    std::string pending_;
};

}  // namespace mediatest
