#pragma once

#include "mediaconverter/worker/AvPointers.h"

#include <functional>

namespace worker {

/// A decoder for the stream, open. `configure` is called before it opens, and may set what the stream does not say.
/// Throws Failure (codecUnknown).
CodecPointer openDecoder(const AVStream& source, const std::function<void(AVCodecContext&)>& configure = {});

}  // namespace worker
