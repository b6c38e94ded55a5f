#pragma once

#include "support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace mediatest {

// Recordings are made, and converted, in folders of their own.
using test::contentOf;
using test::TemporaryFolder;
using test::writeFile;

/// A command, or part of one.
using Words = std::vector<std::string>;

/// Both, one after the other.
inline Words plus(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

std::vector<std::string> linesOf(const std::string& text);

/// Runs a program and returns its standard output. Throws if it fails.
std::string outputOf(const std::vector<std::string>& command);

/// Runs a program and appends its standard output to `output`. Returns its exit status, or 128 + the signal.
int runFor(const std::vector<std::string>& command, std::string& output);

/// Runs a program and discards its output. Returns its exit status, or 128 + the signal that ended it.
int runQuietly(const std::vector<std::string>& command);

/// Small recordings made by the ffmpeg program: moving video and a tone, created once per process and name and kept
/// until the process ends.
namespace samples {

/// `seconds` long; `codecs` are the ffmpeg program's options that choose them, `extension` the container.
std::string make(const std::string& extension, const std::vector<std::string>& codecs, double seconds = 3);

/// H.264 and AAC in Matroska, what a meeting client writes.
std::string matroska();

/// The bytes of a MOV or MP4 with a header that rotates its first track by 90 degrees; every release of the ffmpeg
/// program needs another way to do this. Throws if `bytes` have no unrotated track.
std::string turned(const std::string& bytes);

}  // namespace samples

/// ffprobe's output for `entries` ("stream=codec_name"), one line per stream, values separated by commas.
std::vector<std::string> probe(const std::string& path, const std::string& entries);

/// The frequency of the tone in the first half second that remains of the file's audio after the ffmpeg program's input
/// and filter options, in Hz, from its zero crossings. `before` precede the input, `after` follow it.
double toneIn(const std::string& path, const std::vector<std::string>& before, const std::vector<std::string>& after);

/// A hash of each stream's stored packets, in the order of the streams.
std::vector<std::string> packetHashes(const std::string& path);

}  // namespace mediatest
