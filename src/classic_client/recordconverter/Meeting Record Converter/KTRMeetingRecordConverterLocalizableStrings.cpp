#include "KTRMeetingRecordConverterLocalizableStrings.h"

const char kRecordingFilesPreparedWaitConvert[] = "Your recording is being prepared. This may take a while.";
const char kRecordingFileSavedSuccess[] = "Your recording has been saved to your computer.";
const char kRecordingFileConvertFailed[] = "We had a problem converting the recording to MP4 format.";
const char kViewInFolder[] = "View in Folder";
const char kOpen[] = "Open";
