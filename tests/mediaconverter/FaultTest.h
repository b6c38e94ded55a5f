#pragma once

#include "mediaconverter/ConversionError.h"
#include "mediaconverter/Converters.h"
#include "mediaconverter/RecordingSink.h"
#include "mediaconverter/Samples.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace mediatest {

using mediaconverter::ConversionError;

/// A folder with a source, and the checks that must hold after a conversion, however it ended.
class FaultTest : public testing::Test {
protected:
    std::string destination() const { return folder_.file("out.mp4"); }

    /// Creates a file in the folder.
    std::string put(const std::string& name, const std::string& content);

    /// Runs the ffmpeg program; the last argument is a file in the folder, whose path is returned.
    std::string ffmpeg(Words arguments);

    /// Converts `source` and expects exactly this error: its sentence in the log, nothing new or changed in the folder.
    void expectError(const std::string& source, ConversionError error) { expectError(source, destination(), error); }
    void expectError(const std::string& source, const std::string& target, ConversionError error);

    /// Converts `source` and expects a complete MP4 and, beside it, only what `more` names. Returns the log.
    std::string expectSuccess(const std::string& source, const std::vector<std::string>& more = {});

    /// Number of packets of each stream, as ffprobe counts them.
    static std::vector<int> packetCounts(const std::string& path);

    RecordingSink sink_;
    TemporaryFolder folder_;
};

/// The output of a process that converts one file, and how it ended.
struct ProcessResult {
    int status = -1;  ///< exit status, or 128 + signal
    std::string output;

    bool saidHundred() const { return output.find("progress 100\n") != std::string::npos; }
    bool saidError(ConversionError error) const;
};

/// Runs convert-one with environment variables and a command in front of it (`prlimit --fsize=…`).
ProcessResult convertInProcess(const std::string& source, const std::string& destination,
                               const std::vector<std::string>& environment = {},
                               const std::vector<std::string>& before = {});

}  // namespace mediatest
