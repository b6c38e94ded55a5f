#include "mediaconverter/ConversionError.h"

#include <array>
#include <cerrno>

namespace mediaconverter {

namespace {

struct Entry {
    ConversionError error;
    const char* sentence;
};

using enum ConversionError;

constexpr std::array entries = {
    Entry{badRequest, "the request names no paths, or other tracks or another container than this converter makes"},
    Entry{abandoned, "the conversion was abandoned by its owner"},
    Entry{outOfMemory, "the application has no memory left for a conversion"},
    Entry{sourceMissing, "the recording is not there"},
    Entry{sourceNotPermitted, "the recording may not be read by this user"},
    Entry{sourceLinkLoop, "the recording's path goes through too many links"},
    Entry{sourceNotRegular, "the recording is not a regular file"},
    Entry{sourceNameTooLong, "the recording's path is too long"},
    Entry{sourceNotOpened, "the recording cannot be opened"},
    Entry{sourceEmpty, "the recording is empty"},
    Entry{sourceNotAbsolute, "the recording's path is not absolute: give the full path"},
    Entry{readFailed, "reading the recording failed"},
    Entry{sourceChanged, "the recording was changed, moved or replaced while it was converted"},
    Entry{notARecording, "the file is not a recording of a known format"},
    Entry{formatRefused, "the file is a playlist or a script, not a recording"},
    Entry{nothingRecorded, "the recording holds no sound and no picture"},
    Entry{indexMissing, "the recording was cut off before its index was written, and cannot be read without it"},
    Entry{encrypted, "the recording is encrypted"},
    Entry{codecUnknown, "the recording holds sound or picture in a coding that cannot be read here"},
    Entry{limitExceeded, "new streams turn up in the recording again and again"},
    Entry{damagedCopyNotKept, "the recording is damaged and a second name for its data could not be made"},
    Entry{destinationExists, "the MP4 file's name is taken"},
    Entry{folderMissing, "the MP4 file's folder is not there"},
    Entry{folderNotWritable, "the MP4 file's folder may not be written to by this user"},
    Entry{folderReadOnly, "the MP4 file's folder is on a read-only file system"},
    Entry{destinationNameTooLong, "the MP4 file's path is too long"},
    Entry{destinationNotOpened, "the MP4 file cannot be made"},
    Entry{diskFull, "the disk is full"},
    Entry{quotaExceeded, "the user's disk quota is used up"},
    Entry{fileTooLarge, "the MP4 file would be larger than the file system or a limit allows"},
    Entry{writeFailed, "writing the MP4 file failed"},
    Entry{syncFailed, "the MP4 file could not be brought to the disk"},
    Entry{publishFailed, "the MP4 file could not be given its name"},
    Entry{closeFailed, "closing the MP4 file failed"},
    Entry{encodingFailed, "sound or picture could not be encoded"},
    Entry{containerFailed, "the MP4 file could not be put together"},
    Entry{proofFailed, "the finished MP4 file does not hold what the recording holds"},
    Entry{workerMissing, "the conversion program cannot be started"},
    Entry{workerCrashed, "the conversion program crashed"},
    Entry{workerHung, "the conversion program made no progress"},
    Entry{workerOutOfMemory, "the conversion program needed more memory than it may use"},
    Entry{workerNonsense, "the conversion program sent what cannot be understood"},
    Entry{workerOverBudget, "the conversion program used more processor time than the recording can need"},
};

}  // namespace

const char* sentence(ConversionError error) {
    for (const Entry& entry : entries) {
        if (entry.error == error) {
            return entry.sentence;
        }
    }
    return "the conversion failed";
}

bool isConversionError(int value) {
    for (const Entry& entry : entries) {
        if (static_cast<int>(entry.error) == value) {
            return true;
        }
    }
    return false;
}

ConversionError errorOfWriting(int number) {
    switch (number) {
    case ENOSPC:
        return diskFull;
    case EDQUOT:
        return quotaExceeded;
    case EFBIG:
    case EOVERFLOW:
        return fileTooLarge;
    case EROFS:
        return folderReadOnly;
    default:
        return writeFailed;
    }
}

}  // namespace mediaconverter
