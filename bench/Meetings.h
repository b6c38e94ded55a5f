#pragma once

#include "BusClient.h"

#include <filesystem>
#include <string>
#include <vector>

namespace bench {

/// CPU seconds of a whole meeting with these two recordings, from the converter's start to its end.
double meetingCpuSeconds(const std::vector<std::string>& converter, const std::vector<std::filesystem::path>& clips,
                         const std::filesystem::path& folder);

/// CPU seconds of the ffmpeg program for the same clips, and of a launch of the bare program.
double referenceMeetingCpuSeconds(BusClient& client, const std::vector<std::string>& bare,
                                  const std::vector<std::filesystem::path>& clips, const std::filesystem::path& folder);

/// KiB of memory that the converter has written after each of `rounds` rounds of 100 conversions, once every bubble has
/// closed.
std::vector<double> writtenKiBAfterConversions(BusClient& client, const std::vector<std::string>& converter,
                                               const std::filesystem::path& clip, const std::filesystem::path& folder,
                                               int rounds);

}  // namespace bench
