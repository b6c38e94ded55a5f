#pragma once

namespace mediaconverter {

/// Why a conversion failed: the codes that reach the sink. The numbers are published and never change their meaning.
enum class ConversionError : int {
    // the request
    badRequest = 1,
    abandoned = 2,
    outOfMemory = 3,

    // the source, before it is read
    sourceMissing = 10,
    sourceNotPermitted = 11,
    sourceLinkLoop = 12,
    sourceNotRegular = 13,
    sourceNameTooLong = 14,
    sourceNotOpened = 15,
    sourceEmpty = 16,
    sourceNotAbsolute = 17,

    // the source, while it is read
    readFailed = 20,
    sourceChanged = 21,
    notARecording = 22,
    formatRefused = 23,
    nothingRecorded = 24,
    indexMissing = 25,
    encrypted = 26,
    codecUnknown = 27,
    limitExceeded = 28,
    damagedCopyNotKept = 29,

    // the destination
    destinationExists = 40,
    folderMissing = 41,
    folderNotWritable = 42,
    folderReadOnly = 43,
    destinationNameTooLong = 44,
    destinationNotOpened = 45,
    diskFull = 46,
    quotaExceeded = 47,
    fileTooLarge = 48,
    writeFailed = 49,
    syncFailed = 50,
    publishFailed = 51,
    closeFailed = 52,

    // the conversion itself
    encodingFailed = 60,
    containerFailed = 61,
    proofFailed = 62,

    // the worker
    workerMissing = 80,
    workerCrashed = 81,
    workerHung = 82,
    workerOutOfMemory = 83,
    workerNonsense = 84,
    workerOverBudget = 85,
};

/// One plain sentence without a full stop, for the system log: what was wrong and, where it helps, what to do. Never
/// null, whatever the value.
const char* sentence(ConversionError error);

/// Whether `value` is one of the codes above.
bool isConversionError(int value);

/// The error for an errno value of a call that stores something in the destination's folder; `otherwise` if the value
/// says nothing about the disk, the folder's file system or the name.
ConversionError errorOfStoring(int number, ConversionError otherwise);

/// The error for an errno value of a failed write to the destination.
ConversionError errorOfWriting(int number);

}  // namespace mediaconverter
