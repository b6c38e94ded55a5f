#pragma once

namespace zed {

/// The reports of a media converter to its owner. The order of the virtual operations is a binary contract.
class IZedMediaConverterSink {
public:
    virtual ~IZedMediaConverterSink() = default;

    /// Percent; 100 or more means that the MP4 is complete under its final name. Any thread.
    virtual void OnConvertProgress(float progress) = 0;

    /// The conversion has failed; the code is the media converter's own. Any thread.
    virtual void OnConvertError(int error) = 0;
};

}  // namespace zed
