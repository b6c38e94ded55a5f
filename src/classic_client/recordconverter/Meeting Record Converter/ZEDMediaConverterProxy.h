#pragma once

#include "mediaconverter/IZedMediaConverter.h"
#include "mediaconverter/IZedMediaConverterSink.h"

/// Owns one media converter, is its sink, and passes its callbacks on to the record converter that owns the proxy.
/// Callbacks come on whatever thread the media converter chooses.
class ZEDMediaConverterProxy final : public zed::IZedMediaConverterSink {
public:
    /// `owner` is the KTRMeetingRecordConverter, not kept alive: it owns the proxy. Makes the media converter; where
    /// none could be made, conversions do nothing.
    explicit ZEDMediaConverterProxy(void* owner);

    /// Releases the media converter; no callback comes afterwards.
    ~ZEDMediaConverterProxy() override;

    ZEDMediaConverterProxy(const ZEDMediaConverterProxy&) = delete;
    ZEDMediaConverterProxy& operator=(const ZEDMediaConverterProxy&) = delete;

    void OnConvertProgress(float progress) override;
    void OnConvertError(int error) override;

    /// Converts `src` to `dst`; the outcome is known from the callbacks alone.
    void ConvertRecord(const char* src, const char* dst);

private:
    void* owner_;
    zed::IZedMediaConverter* mediaConverter_ = nullptr;
};

/// The bridge from the proxy to its owner, a KTRMeetingRecordConverter.
void RecordConverterReportProgress(void* converter, float progress);
void RecordConverterReportError(void* converter, int error);
