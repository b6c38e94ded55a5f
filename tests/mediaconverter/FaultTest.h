#pragma once

#include "mediaconverter/ConversionError.h"
#include "mediaconverter/Converters.h"
#include "mediaconverter/RecordingSink.h"
#include "mediaconverter/Samples.h"
#include "mediaconverter/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace mediatest {

using mediaconverter::ConversionError;

/// A command, or part of one.
using Words = std::vector<std::string>;

/// A folder with a source in it and what must hold after a conversion, however it ended.
class FaultTest : public testing::Test {
protected:
    std::string destination() const { return folder_.file("out.mp4"); }

    /// Makes a file of the folder.
    std::string put(const std::string& name, const std::string& content);

    /// Runs the ffmpeg program; the last word is a file of the folder, whose path is given back.
    std::string ffmpeg(Words arguments);

    /// Converts `source` and wants this one error: its sentence in the log, nothing new or changed in the folder.
    void expectError(const std::string& source, ConversionError error) { expectError(source, destination(), error); }
    void expectError(const std::string& source, const std::string& target, ConversionError error);

    /// Converts `source` and wants a whole MP4 and, beside it, nothing but what `more` names. Gives back the log.
    std::string expectSuccess(const std::string& source, const std::vector<std::string>& more = {});

    /// Packets of each stream, as ffprobe counts them.
    static std::vector<int> packetCounts(const std::string& path);

    RecordingSink sink_;
    TemporaryFolder folder_;
};

/// What a process that converts one file said and how it ended.
struct ProcessResult {
    int status = -1;  ///< exit status, or 128 + signal
    std::string output;

    bool saidHundred() const { return output.find("progress 100\n") != std::string::npos; }
    bool saidError(ConversionError error) const;
};

/// Runs convert-one with environment variables and a command before it (`prlimit --fsize=…`).
ProcessResult convertInProcess(const std::string& source, const std::string& destination,
                               const std::vector<std::string>& environment = {},
                               const std::vector<std::string>& before = {});

}  // namespace mediatest
