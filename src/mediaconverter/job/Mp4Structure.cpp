#include "mediaconverter/job/Mp4Structure.h"

#include "mediaconverter/job/JobFailure.h"
#include "mediaconverter/job/Mp4Boxes.h"

#include <cerrno>
#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace mediaconverter {

namespace {

[[noreturn]] void refuse(const std::string& what, std::int64_t position) {
    throw JobFailure(ConversionError::proofFailed,
                     "the conversion program's result has " + what + " at byte " + std::to_string(position));
}

void walk(int descriptor, std::int64_t start, std::int64_t end, const std::function<void(const FileBox&)>& take) {
    if (const auto place = walkBoxes(descriptor, start, end, take)) {
        refuse("no box, or too many of them,", *place);
    }
}

class TopLevel {
public:
    explicit TopLevel(int descriptor) : descriptor_(descriptor) {}

    void add(const FileBox& box) {
        if ((box.start == 0) != (box.is("ftyp"))) {
            refuse("no file type, or another one,", box.start);
        }
        if (box.is("moov")) {
            addIndex(box);
        } else if (box.is("mdat")) {
            addData(box);
        } else if (!box.is("ftyp") && !box.is("free")) {
            refuse("an unexpected box", box.start);
        }
    }

    void requireComplete() const {
        if (!hasIndex_ || !hasData_) {
            refuse("no index or no data from the beginning", 0);
        }
    }

private:
    void addIndex(const FileBox& index) {
        if (hasIndex_) {
            refuse("another index", index.start);
        }
        bool hasHeader = false;
        bool hasTrack = false;
        walk(descriptor_, index.content, index.end, [&](const FileBox& box) {
            hasHeader = hasHeader || box.is("mvhd");
            hasTrack = hasTrack || box.is("trak");
        });
        if (!hasHeader || !hasTrack) {
            refuse("an index without a header or a track", index.start);
        }
        hasIndex_ = true;
    }

    void addData(const FileBox& data) {
        if (!hasIndex_) {
            refuse("data before the index", data.start);
        }
        hasData_ = hasData_ || data.end > data.content;
    }

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
    TopLevel found(descriptor);
    walk(descriptor, 0, status.st_size, [&](const FileBox& box) { found.add(box); });
    found.requireComplete();
}

}  // namespace mediaconverter
