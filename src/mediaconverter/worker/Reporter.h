#pragma once

#include "mediaconverter/ConversionError.h"
#include "mediaconverter/WorkerMessage.h"

#include <string>

namespace worker {

/// Tells the library how the work goes, through the pipe. A pipe that nobody reads any more ends the process: there
/// is nobody left to convert for.
class Reporter {
public:
    explicit Reporter(int descriptor) : descriptor_(descriptor) {}

    /// `fraction` of the work is done. Passed on only when it has grown by a thousandth.
    void progress(double fraction);

    void note(const std::string& text);
    void damaged(const std::string& text);
    void done();
    void failed(mediaconverter::ConversionError error, const std::string& text);

private:
    void send(mediaconverter::WorkerMessage::Kind kind, int code, double fraction, const std::string& text) const;

    int descriptor_;
    double last_ = -1;
};

}  // namespace worker
