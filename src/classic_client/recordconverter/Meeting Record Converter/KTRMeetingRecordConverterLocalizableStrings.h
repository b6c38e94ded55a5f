#pragma once

/// The texts of the bubbles: each is the English text and the key of its translations.
extern const char kRecordingFilesPreparedWaitConvert[];
extern const char kRecordingFileSavedSuccess[];
extern const char kRecordingFileConvertFailed[];
extern const char kViewInFolder[];
extern const char kOpen[];
