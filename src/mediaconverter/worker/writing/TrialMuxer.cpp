#include "mediaconverter/worker/writing/TrialMuxer.h"

#include "mediaconverter/worker/AvPointers.h"

#include <cstdint>
#include <new>

namespace worker {

namespace {

/// An MP4 in memory.
class TrialFile {
public:
    TrialFile() {
        AVFormatContext* context = nullptr;
        if (avformat_alloc_output_context2(&context, nullptr, "mp4", nullptr) < 0) {
            throw std::bad_alloc();
        }
        format_.reset(context);
        context->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
        if (avio_open_dyn_buf(&context->pb) < 0) {
            throw std::bad_alloc();
        }
    }

    ~TrialFile() {
        std::uint8_t* bytes = nullptr;
        avio_close_dyn_buf(format_->pb, &bytes);
        av_free(bytes);
    }

    TrialFile(const TrialFile&) = delete;
    TrialFile& operator=(const TrialFile&) = delete;

    AVFormatContext* get() const { return format_.get(); }

private:
    OutputPointer format_;
};

}  // namespace

bool isTakenByMuxer(const AVStream& track, const AVPacket* first) {
    const TrialFile file;
    AVStream& stream = *present(avformat_new_stream(file.get(), nullptr));
    if (avcodec_parameters_copy(stream.codecpar, track.codecpar) < 0) {
        throw std::bad_alloc();
    }
    stream.time_base = track.time_base;
    stream.avg_frame_rate = track.avg_frame_rate;
    stream.disposition = track.disposition;
    if (avformat_write_header(file.get(), nullptr) < 0) {
        return false;
    }
    if (first == nullptr) {
        return true;
    }
    const PacketPointer packet(present(av_packet_clone(first)));
    packet->stream_index = 0;
    return av_write_frame(file.get(), packet.get()) >= 0 && av_write_trailer(file.get()) >= 0;
}

}  // namespace worker
