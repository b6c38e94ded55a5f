#include "ZEDMediaConverterProxy.h"

ZEDMediaConverterProxy::ZEDMediaConverterProxy(void* owner) : owner_(owner) {
    CreateMediaConverter(&mediaConverter_, this);
}

ZEDMediaConverterProxy::~ZEDMediaConverterProxy() {
    if (mediaConverter_ != nullptr) {
        mediaConverter_->Release();
        mediaConverter_ = nullptr;
    }
}

void ZEDMediaConverterProxy::OnConvertProgress(float progress) {
    RecordConverterReportProgress(owner_, progress);
}

void ZEDMediaConverterProxy::OnConvertError(int error) {
    RecordConverterReportError(owner_, error);
}

void ZEDMediaConverterProxy::ConvertRecord(const char* src, const char* dst) {
    if (mediaConverter_ != nullptr) {
        mediaConverter_->Convert(src, dst, zed::audioAndVideo, zed::mp4Container);
    }
}
