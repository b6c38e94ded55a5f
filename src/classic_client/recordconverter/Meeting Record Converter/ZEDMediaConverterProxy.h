#pragma once

#include "mediaconverter/IZedMediaConverter.h"
#include "mediaconverter/IZedMediaConverterSink.h"

/// Owns one media converter, is its sink, and forwards its callbacks to the record converter that owns the proxy.
/// Callbacks come on whatever thread the media converter chooses.
class ZEDMediaConverterProxy final : public zed::IZedMediaConverterSink {
public:
    /// `owner` is the KTRMeetingRecordConverter that owns the proxy; it is not kept alive. Creates the media converter;
    /// if that fails, conversions do nothing.
    explicit ZEDMediaConverterProxy(void* owner);

    /// Releases the media converter; there are no callbacks afterwards.
    ~ZEDMediaConverterProxy() override;

    ZEDMediaConverterProxy(const ZEDMediaConverterProxy&) = delete;
    ZEDMediaConverterProxy& operator=(const ZEDMediaConverterProxy&) = delete;

    void OnConvertProgress(float progress) override;
    void OnConvertError(int error) override;

    /// Converts `src` to `dst`; only the callbacks report the result.
    void ConvertRecord(const char* src, const char* dst);

private:
    void* owner_;
    zed::IZedMediaConverter* mediaConverter_ = nullptr;
};

/// Forwards from the proxy to its owner, a KTRMeetingRecordConverter.
void RecordConverterReportProgress(void* converter, float progress);
void RecordConverterReportError(void* converter, int error);
