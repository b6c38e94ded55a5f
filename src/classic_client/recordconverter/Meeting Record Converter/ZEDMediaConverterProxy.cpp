#include "ZEDMediaConverterProxy.h"

namespace {

// Every conversion requests audio and video, in an MP4.
constexpr int audioAndVideo = 3;
constexpr int mp4Container = 4;

}  // namespace

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
        mediaConverter_->Convert(src, dst, audioAndVideo, mp4Container);
    }
}
