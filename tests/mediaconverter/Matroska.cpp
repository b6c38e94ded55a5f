#include "mediaconverter/Matroska.h"

#include "support/TemporaryFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace mediatest {

namespace {

constexpr const char* clusterId = "\x1F\x43\xB6\x75";
constexpr std::size_t pendingMost = std::size_t{1} << 20U;

/// Big-endian, of `width` bytes.
std::string number(std::uint64_t value, unsigned width) {
    std::string bytes;
    for (unsigned byte = width; byte-- > 0;) {
        bytes += static_cast<char>(value >> (8 * byte));
    }
    return bytes;
}

/// A length of eight bytes, which can hold any value.
std::string length(std::uint64_t value) {
    return number(value | std::uint64_t{1} << 56U, 8);
}

}  // namespace

Matroska::Matroska(const std::string& path, const std::string& sample)
    : descriptor_(::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600)) {
    const std::string bytes = test::contentOf(sample);
    const auto first = bytes.find(clusterId);
    if (descriptor_ < 0 || first == std::string::npos) {
        throw std::runtime_error("no recording to begin " + path + " with");
    }
    pending_ = bytes.substr(0, first);
}

Matroska::~Matroska() {
    write({});
    ::close(descriptor_);
}

void Matroska::cluster(std::uint64_t milliseconds) {
    // Of unknown length: it ends where the next begins.
    write(std::string(clusterId, 4) + number(0x01FFFFFFFFFFFFFF, 8) + "\xE7" + length(8) + number(milliseconds, 8));
}

void Matroska::packet(int track, int offset, const std::string& payload) {
    blockHeader(track, offset, payload.size());
    pending_ += payload;
    if (pending_.size() > pendingMost) {
        write({});
    }
}

void Matroska::sparsePacket(int track, int offset, const std::string& head, std::uint64_t bytes) {
    blockHeader(track, offset, bytes);
    write(head);
    const off_t end = ::lseek(descriptor_, static_cast<off_t>(bytes - head.size()), SEEK_CUR);
    if (end < 0 || ::ftruncate(descriptor_, end) != 0) {
        throw std::system_error(errno, std::generic_category(), "sparse packet");
    }
}

void Matroska::blockHeader(int track, int offset, std::uint64_t bytes) {
    constexpr std::uint64_t ownHeader = 4;
    constexpr char keyFrame = '\x80';
    pending_ += "\xA3" + length(bytes + ownHeader) + static_cast<char>(0x80 | track) +
                number(static_cast<std::uint16_t>(offset), 2) + keyFrame;
}

void Matroska::write(const std::string& bytes) {
    pending_ += bytes;
    for (std::size_t done = 0; done < pending_.size();) {
        const ssize_t written = ::write(descriptor_, pending_.data() + done, pending_.size() - done);
        if (written < 0) {
            throw std::system_error(errno, std::generic_category(), "writing a recording");
        }
        done += static_cast<std::size_t>(written);
    }
    pending_.clear();
}

}  // namespace mediatest
