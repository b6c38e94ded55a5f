#include "mediaconverter/worker/Failure.h"

#include "mediaconverter/worker/confinement/AllocationWatch.h"

extern "C" {
#include <libavutil/error.h>
}

#include <array>
#include <cstdlib>

namespace worker {

namespace {

/// An encoder that cannot start gives no reason. The reason is memory if a large block cannot be allocated either.
bool isMemoryShort() {
    constexpr std::size_t largeBlock = std::size_t{64} << 20U;
    void* const block = std::malloc(largeBlock);
    const bool isShort = block == nullptr;
    std::free(block);
    return isShort;
}

}  // namespace

Failure Failure::ofLibrary(ConversionError error, int number) {
    if (isOutOfMemory(number) || (number == AVERROR_EXTERNAL && isMemoryShort())) {
        return Failure(ConversionError::workerOutOfMemory);
    }
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(number, text.data(), text.size());
    return Failure(error, text.data());
}

bool isOutOfMemory(int number) {
    return number == AVERROR(ENOMEM) && wasMemoryRefused();
}

}  // namespace worker
