#include "mediaconverter/job/Mp4Structure.h"

#include "mediaconverter/job/JobFailure.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>

namespace mediaconverter {

namespace {

/// Boxes of one level that are looked at; the worker makes a handful, and one per track within the index.
constexpr int mostBoxes = 1000;

/// A box's header as ISO/IEC 14496-12 has it (4.2): 32 bits of size, the type, and 64 bits of size where the first
/// are 1.
struct Box {
    std::string type;
    std::uint64_t start = 0;
    std::uint64_t content = 0;  ///< where its content starts
    std::uint64_t end = 0;
};

[[noreturn]] void refuse(const std::string& what, std::uint64_t position) {
    throw JobFailure(ConversionError::proofFailed,
                     "the conversion program's result: " + what + " at byte " + std::to_string(position));
}

std::uint64_t bigEndian(const unsigned char* bytes, int length) {
    std::uint64_t value = 0;
    for (int index = 0; index < length; ++index) {
        value = value << 8U | bytes[index];
    }
    return value;
}

void readAt(int descriptor, std::uint64_t position, unsigned char* bytes, std::size_t length) {
    ssize_t got = 0;
    do {
        got = ::pread(descriptor, bytes, length, static_cast<off_t>(position));
    } while (got < 0 && errno == EINTR);
    if (got != static_cast<ssize_t>(length)) {
        refuse(got < 0 ? "it can't be read" : "it ends within a box", position);
    }
}

Box boxAt(int descriptor, std::uint64_t position, std::uint64_t end) {
    std::array<unsigned char, 16> header{};
    if (end - position < 8) {
        refuse("it has bytes that are no box", position);
    }
    readAt(descriptor, position, header.data(), 8);
    Box box{std::string(reinterpret_cast<const char*>(header.data()) + 4, 4), position, position + 8, 0};
    std::uint64_t size = bigEndian(header.data(), 4);
    if (size == 1) {
        if (end - position < 16) {
            refuse("it has bytes that are no box", position);
        }
        readAt(descriptor, position + 8, header.data() + 8, 8);
        size = bigEndian(header.data() + 8, 8);
        box.content += 8;
    }
    // Neither a box that is open to the end (size 0) nor one that leaves its surroundings.
    if (size < box.content - position || size > end - position) {
        refuse("it has a box of impossible size", position);
    }
    box.end = position + size;
    return box;
}

void requireTrack(int descriptor, const Box& index) {
    std::uint64_t position = index.content;
    bool hasHeader = false;
    bool hasTrack = false;
    for (int count = 0; position < index.end; ++count) {
        if (count == mostBoxes) {
            refuse("it has too many boxes", position);
        }
        const Box box = boxAt(descriptor, position, index.end);
        hasHeader = hasHeader || box.type == "mvhd";
        hasTrack = hasTrack || box.type == "trak";
        position = box.end;
    }
    if (!hasHeader || !hasTrack) {
        refuse("it has an index without a header or a track", index.start);
    }
}

class TopLevel {
public:
    explicit TopLevel(int descriptor) : descriptor_(descriptor) {}

    void take(const Box& box) {
        if ((box.start == 0) != (box.type == "ftyp")) {
            refuse("it does not start with its file type, or has several", box.start);
        }
        if (box.type == "moov") {
            if (hasIndex_ || hasData_) {
                refuse("it has an index after the data, or several", box.start);
            }
            requireTrack(descriptor_, box);
            hasIndex_ = true;
        } else if (box.type == "mdat") {
            if (!hasIndex_) {
                refuse("it has data before the index", box.start);
            }
            hasData_ = hasData_ || box.end > box.content;
        } else if (box.type != "ftyp" && box.type != "free") {
            refuse("it has a box that nothing asked for", box.start);
        }
    }

    void requireComplete() const {
        if (!hasIndex_ || !hasData_) {
            refuse("it has no index or no data", 0);
        }
    }

private:
    int descriptor_;
    bool hasIndex_ = false;
    bool hasData_ = false;
};

}  // namespace

void requireWholeMp4(int descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0) {
        throw JobFailure::ofSystem(ConversionError::proofFailed, errno);
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    TopLevel found(descriptor);
    std::uint64_t position = 0;
    for (int count = 0; position < size; ++count) {
        if (count == mostBoxes) {
            refuse("it has too many boxes", position);
        }
        const Box box = boxAt(descriptor, position, size);
        found.take(box);
        position = box.end;
    }
    found.requireComplete();
}

}  // namespace mediaconverter
