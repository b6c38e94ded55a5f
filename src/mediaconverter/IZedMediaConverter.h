#pragma once

#include "mediaconverter/IZedMediaConverterSink.h"

namespace zed {

/// A converter of one recording to one MP4. The order of the virtual operations is a binary contract: the fourth
/// releases, the eighth converts; the others have no caller and keep the places. There is no virtual destructor.
class IZedMediaConverter {
public:
    virtual int Reserved1() = 0;
    virtual int Reserved2() = 0;
    virtual int Reserved3() = 0;

    /// Ends the object's life; once, by its owner. A conversion under way is abandoned, its source left as it was, and
    /// no callback comes after this has returned.
    virtual void Release() = 0;

    virtual int Reserved5() = 0;
    virtual int Reserved6() = 0;
    virtual int Reserved7() = 0;

    /// Converts `source` to `destination` (paths in the file system's bytes, NUL-terminated). `tracks` is always 3
    /// (bit 0 audio, bit 1 video) and `container` always 4 (MP4). The outcome reaches the sink; the result has no
    /// meaning for the caller, nor whether callbacks come before or after the call returns.
    virtual int Convert(const char* source, const char* destination, int tracks, int container) = 0;

protected:
    // Protected and not virtual: a virtual one would take two places in the table.
    ~IZedMediaConverter() = default;
};

}  // namespace zed

/// Makes a media converter bound to `sink` and stores it at `converter`; leaves null there when it can't. The sink
/// must outlive the converter. Result: 0 on success; the application looks only at the pointer.
extern "C" __attribute__((visibility("default"))) int CreateMediaConverter(zed::IZedMediaConverter** converter,
                                                                           zed::IZedMediaConverterSink* sink);
