#pragma once

#include "mediaconverter/ConversionError.h"
#include "mediaconverter/WorkerMessage.h"

#include <chrono>
#include <string>

namespace worker {

/// Reports progress to the library, through the pipe. If the pipe has no reader any more, the process ends, because
/// nobody waits for the conversion.
class Reporter {
public:
    explicit Reporter(int descriptor) : descriptor_(descriptor) {}

    /// `fraction` of the work is done. Sent only when it has grown by a thousandth, and at most 40 times a second.
    void progress(double fraction);

    void note(const std::string& text);
    void damaged(const std::string& text);
    void done();
    void failed(mediaconverter::ConversionError error, const std::string& text);

private:
    void send(mediaconverter::WorkerMessage::Kind kind, int code, double fraction, const std::string& text) const;

    int descriptor_;
    double last_ = -1;
    std::chrono::steady_clock::time_point lastTime_;
};

}  // namespace worker
