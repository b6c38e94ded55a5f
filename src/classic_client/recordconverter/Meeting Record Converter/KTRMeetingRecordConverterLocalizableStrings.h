#pragma once

/// The bubbles' texts: each is its own English text and the key under which its translations are looked up.
extern const char kRecordingFilesPreparedWaitConvert[];
extern const char kRecordingFileSavedSuccess[];
extern const char kRecordingFileConvertFailed[];
extern const char kViewInFolder[];
extern const char kOpen[];
