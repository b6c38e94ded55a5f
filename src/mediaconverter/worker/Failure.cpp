#include "mediaconverter/worker/Failure.h"

extern "C" {
#include <libavutil/error.h>
}

#include <array>

namespace worker {

Failure Failure::ofLibrary(ConversionError error, int number) {
    if (number == AVERROR(ENOMEM)) {
        return Failure(ConversionError::workerOutOfMemory);
    }
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(number, text.data(), text.size());
    return Failure(error, text.data());
}

}  // namespace worker
