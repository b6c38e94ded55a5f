#pragma once

#include <string>
#include <vector>

namespace mediatest {

std::vector<std::string> linesOf(const std::string& text);

/// Runs a program and gives back what it wrote to its standard output. Throws when it fails.
std::string outputOf(const std::vector<std::string>& command);

/// Runs a program and adds what it wrote to its standard output to `output`. Its exit status, or 128 + the signal.
int runFor(const std::vector<std::string>& command, std::string& output);

/// Runs a program; its exit status, or 128 + the signal that ended it. Its output is thrown away.
int runQuietly(const std::vector<std::string>& command);

/// Small recordings made by the ffmpeg program: moving picture and a tone, made once a process for each name and kept
/// until it ends.
namespace samples {

/// `seconds` long; `codecs` are the ffmpeg program's options that choose them, `extension` the container.
std::string make(const std::string& extension, const std::vector<std::string>& codecs, double seconds = 3);

/// H.264 and AAC in Matroska, what a meeting client writes.
std::string matroska();

/// The bytes of a MOV or MP4 whose header turns its first track by 90 degrees; each release of the ffmpeg program has
/// another way to make one. Throws where `bytes` have no upright track.
std::string turned(const std::string& bytes);

}  // namespace samples

/// What ffprobe says of `entries` ("stream=codec_name"), one line a stream, values parted by commas.
std::vector<std::string> probe(const std::string& path, const std::string& entries);

/// The frequency of the tone in the first half second that the ffmpeg program's input and filter `options` leave of the
/// file's audio, in Hz, from its passages through zero. `before` the input, `after` it.
double toneIn(const std::string& path, const std::vector<std::string>& before, const std::vector<std::string>& after);

/// A hash of each stream's packets as they are stored, in the order of the streams.
std::vector<std::string> packetHashes(const std::string& path);

}  // namespace mediatest
