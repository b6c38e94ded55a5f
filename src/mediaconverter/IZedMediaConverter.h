#pragma once

#include "mediaconverter/IZedMediaConverterSink.h"

namespace zed {

/// What every conversion asks for: audio (bit 0) and video (bit 1), in an MP4.
inline constexpr int audioAndVideo = 3;
inline constexpr int mp4Container = 4;

/// Converts one recording to one MP4. The order of the virtual operations is a binary contract: the fourth releases,
/// the eighth converts; the others are placeholders without a caller. There is no virtual destructor.
class IZedMediaConverter {
public:
    virtual int Reserved1() = 0;
    virtual int Reserved2() = 0;
    virtual int Reserved3() = 0;

    /// Ends the object's life; its owner calls it once. A conversion in progress is abandoned, its source stays as it
    /// was, and no callback comes after this has returned.
    virtual void Release() = 0;

    virtual int Reserved5() = 0;
    virtual int Reserved6() = 0;
    virtual int Reserved7() = 0;

    /// Converts `source` to `destination` (paths in the file system's bytes, NUL-terminated). `tracks` is
    /// always `audioAndVideo` and `container` always `mp4Container`. The sink receives the outcome. Callers ignore the
    /// return value and make no assumption about whether callbacks come before or after the return.
    virtual int Convert(const char* source, const char* destination, int tracks, int container) = 0;

protected:
    // Protected and not virtual: a virtual destructor would take two slots in the table.
    ~IZedMediaConverter() = default;
};

}  // namespace zed

/// Creates a media converter for `sink` and stores it at `converter`; stores null if it cannot. The sink must outlive
/// the converter. Returns 0 on success; the application checks only the pointer.
extern "C" __attribute__((visibility("default"))) int CreateMediaConverter(zed::IZedMediaConverter** converter,
                                                                           zed::IZedMediaConverterSink* sink);
