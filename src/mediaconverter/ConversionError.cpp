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
    Entry{badRequest, "the request lacks a path, or asks for tracks or a container that this converter does not make"},
    Entry{abandoned, "the conversion was cancelled; convert the recording again if it is wanted"},
    Entry{outOfMemory, "the application has no memory left; close other programs, then convert again"},
    Entry{sourceMissing, "the recording does not exist; check its path"},
    Entry{sourceNotPermitted, "this user may not read the recording; check its permissions"},
    Entry{sourceLinkLoop, "the recording's path goes through too many symbolic links; give the file's own path"},
    Entry{sourceNotRegular, "the recording is not a regular file; give the path of a file"},
    Entry{sourceNameTooLong, "the recording's path is too long; move the recording to a shorter one"},
    Entry{sourceNotOpened, "the recording cannot be opened"},
    Entry{sourceEmpty, "the recording is empty: there is nothing to convert"},
    Entry{sourceNotAbsolute, "the recording's path is not absolute: give the full path"},
    Entry{readFailed, "reading the recording failed; copy it to another disk, then convert the copy"},
    Entry{sourceChanged, "the recording was changed, moved or replaced during the conversion; convert it again"},
    Entry{notARecording, "the file is not a recording of a known format"},
    Entry{formatRefused, "the file is a playlist or a script, not a recording"},
    Entry{nothingRecorded, "the recording contains no audio and no video"},
    Entry{indexMissing, "the recording was cut off before its index was written; a tool must rebuild the index first"},
    Entry{encrypted, "the recording is encrypted; decrypt it first"},
    Entry{codecUnknown, "the recording contains audio or video in a codec that cannot be decoded here"},
    Entry{limitExceeded, "the recording starts new streams too often, or its times are out of range; split it there"},
    Entry{damagedCopyNotKept,
          "the recording is damaged, and its data could not get a second name; make room or allow writing beside it"},
    Entry{destinationExists, "the MP4 file's name is taken; move or rename the existing file"},
    Entry{folderMissing, "the MP4 file's folder does not exist; create it"},
    Entry{folderNotWritable, "this user may not write to the MP4 file's folder; check its permissions"},
    Entry{folderReadOnly, "the MP4 file's folder is on a read-only file system"},
    Entry{destinationNameTooLong, "the MP4 file's path is too long; move the recording to a shorter one"},
    Entry{destinationNotOpened, "the MP4 file cannot be created"},
    Entry{diskFull, "the disk is full; make room, then convert again"},
    Entry{quotaExceeded, "the user's disk quota is used up; make room, then convert again"},
    Entry{fileTooLarge,
          "the MP4 file would be larger than the file system or a limit allows; convert to another file system"},
    Entry{writeFailed, "writing the MP4 file failed; check the disk"},
    Entry{syncFailed, "the MP4 file could not be synced; check the disk"},
    Entry{publishFailed, "the MP4 file could not get its name"},
    Entry{closeFailed, "closing the MP4 file failed; check the disk"},
    Entry{encodingFailed, "audio or video could not be encoded"},
    Entry{containerFailed, "the MP4 file could not be assembled"},
    Entry{proofFailed, "the finished MP4 file differs from the recording; please report this"},
    Entry{workerMissing, "the conversion program cannot be started; install the record converter again"},
    Entry{workerCrashed, "the conversion program crashed; please report this"},
    Entry{workerHung, "the conversion program made no progress; please report this"},
    Entry{workerOutOfMemory,
          "the conversion program needed more memory than it may use; close other programs, then convert again"},
    Entry{workerNonsense, "the conversion program sent an invalid message; please report this"},
    Entry{workerOverBudget,
          "the conversion program used more processor time than the recording can need; please report this"},
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

ConversionError errorOfStoring(int number, ConversionError otherwise) {
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
    case ENAMETOOLONG:
        return destinationNameTooLong;
    default:
        return otherwise;
    }
}

ConversionError errorOfWriting(int number) {
    return errorOfStoring(number, writeFailed);
}

}  // namespace mediaconverter
